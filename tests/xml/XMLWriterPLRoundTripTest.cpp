#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "data/LineFlattener.h"
#include "data/StringReceiver.h"
#include "tests/support/Bytes.h"
#include "tests/xml/WrittenXML.h"
#include "xml/XMLTreeParserPL.h"
#include "xml/XMLWriterPL.h"

namespace {

// A random tree, written by the writer and read by the tree parser.
class RoundTrip {
public:
    explicit RoundTrip(unsigned int seed, std::uint32_t layout) : random(seed), style(layout) {}

    void Run() {
        std::string document;
        StringReceiver collector;
        LineFlattener flattener;
        XMLWriterPL writer(flattener(LineFlattener::crlf, collector(document)), style);
        XMLElementPL expected("root", std::vector<XMLAttribute>{});
        writer.BeginDocument("root", none, noEncoding);
        Fill(writer, expected, 0);
        writer.EndDocument();
        XMLTreeParserPL parser;
        parser.Parse(document);
        ASSERT_NE(parser.GetRootElement(), nullptr);
        EXPECT_FALSE(parser.HasOpenElements());
        ExpectSame(*parser.GetRootElement(), expected);
        EXPECT_EQ(nextText, texts.size());
    }

private:
    std::string RandomText(std::string const& alphabet) {
        return RandomBytes(random, random() % 40, alphabet);
    }

    // Leaves have text and nothing else; others have children, so that the white space of the
    // layout cannot mix with the text.
    void Fill(XMLWriterPL& writer, XMLElementPL& element, int depth) {
        if (depth == 4 || random() % 3 == 0) {
            std::string const text = RandomText(EveryByte());
            std::string const withoutNul = RandomText(EveryByte().substr(1));
            texts.push_back(text + withoutNul);
            writer.WriteString(ConstData(text));
            writer.WriteUTF8String(withoutNul.c_str());
            return;
        }
        for (unsigned int count = 1 + random() % 3; count != 0; --count) {
            // All bytes but the dash, which a name loses in a start tag alone.
            std::string const name =
                std::string("e") + RandomBytes(random, random() % 20, "abcXYZ019._:\xB7");
            std::string const value = RandomText(EveryByte().substr(1));
            std::vector<XMLAttribute> const attributes{{"a", value}, {"b-c", "d"}};
            writer.BeginElement(ConstData(name), Attributes{{"a", value}, {"b-c", "d"}});
            Fill(writer, *element.AddChildElement(XMLElementPL(name, attributes)), depth + 1);
            writer.EndElement();
        }
    }

    void ExpectSame(XMLElementPL const& read, XMLElementPL const& expected) {
        EXPECT_EQ(read.GetName(), expected.GetName());
        EXPECT_EQ(read.GetAttribute("a"), expected.GetAttribute("a"));
        EXPECT_EQ(read.GetAttribute("b-c"), expected.GetAttribute("b-c"));
        auto const& children = read.GetElementList();
        ASSERT_EQ(children.size(), expected.GetElementList().size());
        if (children.empty()) {
            EXPECT_EQ(read.GetText(), texts.at(nextText++));
        }
        auto child = children.begin();
        for (XMLElementPL const& expectedChild : expected.GetElementList())
            ExpectSame(*child++, expectedChild);
    }

    std::mt19937 random;
    std::uint32_t style;
    std::vector<std::string> texts; // of the leaves, in document order
    std::size_t nextText = 0;
};

TEST(XMLWriterPLRoundTripTest, WhatIsWrittenIsReadBackByteForByte) {
    for (unsigned int seed = 1; seed <= 600; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RoundTrip(seed, seed % 3).Run();
        if (HasFailure())
            return;
    }
}

TEST(XMLWriterPLRoundTripTest, SectionsAndCommentsAreReadBack) {
    for (unsigned int seed = 1; seed <= 600; ++seed) {
        std::mt19937 random(seed);
        // No "]]>" and no NUL in a section; the dashes that a comment keeps must not end it.
        std::string const section = RandomBytes(random, random() % 60, "<>&;]'\"ab\xE9\r\n");
        std::string const comment = RandomBytes(random, random() % 60, "<>&;]'\"ab\xE9\r\n -");
        if (section.find("]]>") != std::string::npos || comment.find("--") != std::string::npos ||
            comment.find("->") != std::string::npos)
            continue;
        std::string const inside = Flat([&](XMLWriterPL& writer) {
            writer.WriteComment(MakeStringPL(comment));
            writer.WriteCDataString(section.c_str());
        });
        XMLTreeParserPL parser;
        parser.Parse("<r>" + inside + "<");
        ASSERT_NE(parser.GetRootElement(), nullptr);
        EXPECT_EQ(parser.GetRootElement()->GetText(), section) << "seed " << seed;
    }
}

} // namespace
