// Tests the validation of names in the writer, and its attribute lists.
#include "xml/XMLWriterPL.h"

#include <gmock/gmock.h>

#include "tests/support/RecordingReceivers.h"
#include "tests/xml/WrittenXML.h"

namespace {

using ::testing::ElementsAre;

bool IsAccepted(std::string const& name) {
    auto const accepts = [](ConstData element, XMLWriterPL::AttributeList const& attributes) {
        bool isAccepted = true;
        std::string const written = Flat([&](XMLWriterPL& writer) {
            try {
                writer.BeginElement(element, attributes);
            } catch (ExceptionPL const&) {
                isAccepted = false;
            }
        });
        EXPECT_EQ(isAccepted, written != "");
        return isAccepted;
    };
    bool const isElement = accepts(name, none);
    EXPECT_EQ(isElement, accepts("a", Attributes{{name, "v"}})) << Shown(name);
    return isElement;
}

TEST(XMLWriterPLNamesTest, AcceptsValidNamesOnly) {
    std::string const letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    for (int number = 1; number < 256; ++number) {
        std::string const byte(1, static_cast<char>(number));
        bool const begins = (letters + "_:").find(byte) != std::string::npos;
        bool const goesOn = (letters + "_:.-0123456789\xB7").find(byte) != std::string::npos;
        EXPECT_EQ(IsAccepted(byte), begins) << number;
        EXPECT_EQ(IsAccepted(byte + "a"), begins) << number;
        EXPECT_EQ(IsAccepted("a" + byte), goesOn) << number;
        EXPECT_EQ(IsAccepted("ab" + byte + "c"), goesOn) << number;
    }
    EXPECT_FALSE(IsAccepted(""));
    EXPECT_FALSE(IsAccepted("a b"));
}

TEST(XMLWriterPLNamesTest, InvalidTagLeavesTheDocumentUnchanged) {
    EXPECT_EQ(Tabbed([](XMLWriterPL& writer) {
                  writer.BeginElement("a", none);
                  EXPECT_THROW(writer.BeginElement("1", none), InvalidXMLElementName);
                  EXPECT_THROW(writer.BeginElement("b", (Attributes{{"c", ""}, {"d e", ""}})),
                               InvalidXMLAttributeName);
                  EXPECT_THROW(writer.BeginElement("", none), InvalidXMLElementName);
                  writer.EndDocument();
              }),
              "|\t<a></a>|</r>");
}

void ExpectMessage(char const* message, ConstData name, Attributes const& attributes) {
    RecordingLineReceiver receiver;
    XMLWriterPL writer(receiver, 2);
    try {
        writer.BeginElement(name, attributes);
        FAIL();
    } catch (ExceptionPL const& error) {
        EXPECT_STREQ(error.what(), message);
    }
}

TEST(XMLWriterPLNamesTest, MessagesNameTheFirstInvalidName) {
    ExpectMessage("Unable to write XML element with invalid element name '1%sa'", "1%sa",
                  {{"b c", ""}});
    ExpectMessage("Unable to write XML element 'a' with invalid attribute name 'c d'", "a",
                  {{"b", ""}, {"c d", ""}, {"e f", ""}});
    ExpectMessage("Unable to write XML element with invalid element name '+of'",
                  ConstData("+of a longer range", 3), {});
}

TEST(XMLWriterPLNamesTest, InvalidRootIsRejectedAfterTheDeclaration) {
    RecordingLineReceiver receiver;
    XMLWriterPL writer(receiver, XMLWriterPL::XMLFormatTabbed);
    EXPECT_THROW(writer.BeginDocument("", none, noEncoding), InvalidXMLElementName);
    EXPECT_THAT(receiver.Events(), ElementsAre("Start 0", "Receive <?xml version=\"1.0\"?>"));
}

// Records at each ResetEnum whether an enumeration was active. Can throw at one of the calls.
class WatchedAttributes : public Attributes {
public:
    using Attributes::Attributes;

    void ResetEnum() const override {
        wasUnderWay.push_back(IsNext());
        if (wasUnderWay.size() == refusedReset)
            throw NoMoreItemsException();
        Attributes::ResetEnum();
    }

    mutable std::vector<bool> wasUnderWay;
    std::size_t refusedReset = 0; // counted from 1; 0 for no exception
};

TEST(XMLWriterPLNamesTest, EnumeratesAttributesTwiceAfterValidatingTheName) {
    for (bool const checks : {true, false}) {
        WatchedAttributes const attributes{{"a", "1"}, {"b", "2"}};
        EXPECT_EQ(Flat([&](XMLWriterPL& writer) {
                      writer.checkNames = checks;
                      writer.BeginElement("e", attributes);
                  }),
                  "<e a=\"1\" b=\"2\">");
        EXPECT_THAT(attributes.wasUnderWay, ElementsAre(false, false)) << checks;
    }
    WatchedAttributes const unwalked{{"a b", "1"}};
    RecordingLineReceiver receiver;
    XMLWriterPL writer(receiver, XMLWriterPL::XMLFormatFlat);
    EXPECT_THROW(writer.BeginElement("1", unwalked), InvalidXMLElementName);
    EXPECT_THAT(unwalked.wasUnderWay, ElementsAre());
}

TEST(XMLWriterPLNamesTest, WritesNothingIfTheFirstEnumerationThrows) {
    for (bool const checks : {true, false}) {
        WatchedAttributes attributes{{"a", "1"}};
        attributes.refusedReset = 1;
        EXPECT_EQ(Tabbed([&](XMLWriterPL& writer) {
                      writer.checkNames = checks;
                      EXPECT_THROW(writer.BeginElement("e", attributes), NoMoreItemsException);
                      writer.EndDocument();
                  }),
                  "</r>")
            << checks;
    }
}

TEST(XMLWriterPLNamesTest, UncheckedNamesAreNotEscaped) {
    EXPECT_EQ(Flat([](XMLWriterPL& writer) {
                  writer.checkNames = false;
                  writer.BeginElement("1<&\xE9", Attributes{{"a b\"<", "c"}, {"", ""}});
                  writer.BeginElement("", none);
                  writer.EndDocument();
              }),
              "<1<&\xE9 a b\"<=\"c\" =\"\"><></></1<&\xE9></r>");
}

} // namespace
