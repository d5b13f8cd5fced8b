#include "companions/JsonRows.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <nlohmann/json.hpp>

#include "tests/companions/RowList.h"
#include "tests/companions/Terminal.h"

namespace {

using Json = nlohmann::json;

std::string JsonText(RowList const& list) {
    return OutputOf([&](Output& output) { WriteJson(RowsOf(list), output); });
}

std::string NdjsonText(RowList const& list) {
    return OutputOf([&](Output& output) { WriteNdjson(RowsOf(list), output); });
}

std::string FailureText(JsonFailure const& failure) {
    return OutputOf([&](Output& output) { WriteJson(failure, output); });
}

Json RowObject(Row const& row) { return Json::parse(JsonText({row})).at("rows").at(0); }

TEST(JsonRowsTest, DocumentWithItsRows) {
    EXPECT_EQ(
        (Json{{"schemaVersion", 1},
              {"outcome", "finished"},
              {"rowCount", 2},
              {"rows",
               {{{"designator", "a"},
                 {"result", "b"},
                 {"resultType", "c"},
                 {"evaluationTime", "12"},
                 {"description", "e"},
                 {"comment", "f"}},
                {{"designator", ""},
                 {"result", ""},
                 {"resultType", ""},
                 {"evaluationTime", ""},
                 {"description", ""},
                 {"comment", ""}}}}}),
        Json::parse(JsonText({{{"a", "b", "c", "12", "e", "f"}}, {{"", "", "", "", "", ""}}})));
}

TEST(JsonRowsTest, DocumentWithoutRows) {
    EXPECT_EQ((Json{{"schemaVersion", 1},
                    {"outcome", "finished"},
                    {"rowCount", 0},
                    {"rows", Json::array()}}),
              Json::parse(JsonText({})));
}

TEST(JsonRowsTest, EveryCharacterComesBack) {
    std::string text;
    for (char c = 1; c != 0x7F; ++c)
        text += c;
    text += "\x7F\xC2\x80\xC2\xB5\xE2\x80\xA8\xEF\xBF\xBE\xF0\x9F\x98\x80</script>";
    Json const row = RowObject({text, "", "", "", "", ""});
    EXPECT_EQ(text, row.at("designator").get<std::string>());
    EXPECT_EQ(6u, row.size());
}

TEST(JsonRowsTest, TextThatIsNoUtf8HasItsExactBytesBesideIt) {
    Json const row = RowObject({"\xB5", "ok", "\xFF", "1", "caf\xE9 \xC3\xA9", "\\xb5"});
    EXPECT_EQ((Json{{"designator", "\\xb5"},
                    {"designatorBase64", "tQ=="},
                    {"result", "ok"},
                    {"resultType", "\\xff"},
                    {"resultTypeBase64", "/w=="},
                    {"evaluationTime", "1"},
                    {"description", "caf\\xe9 \xC3\xA9"},
                    {"descriptionBase64", "Y2Fm6SDDqQ=="},
                    {"comment", "\\xb5"}}),
              row);
}

TEST(JsonRowsTest, EachRowIsALineOfNdjson) {
    RowList const list = {{{"a\nb", "\xB5", "c", "d", "e", "f"}}, {{"g", "h", "i", "j", "k", "l"}}};
    std::string const text = NdjsonText(list);
    std::size_t const end = text.find('\n');
    EXPECT_EQ(RowObject(list[0]), Json::parse(text.substr(0, end)));
    EXPECT_EQ(RowObject(list[1]), Json::parse(text.substr(end + 1)));
    EXPECT_EQ(2, std::count(text.begin(), text.end(), '\n'));
    EXPECT_EQ("", NdjsonText({}));
}

TEST(JsonRowsTest, NothingPlaysWithATerminal) {
    RowList const list = {
        {{"\x1b[m\x7F", "\xB5", "\xC2\x9B", "\t\n", "\xE2\x80\xAE", "caf\xC3\xA9"}}};
    using Write = void (*)(Rows const&, Output&);
    for (Write const write : {static_cast<Write>(WriteJson), static_cast<Write>(WriteNdjson)}) {
        Terminal screen;
        Output output(screen.otherEnd());
        write(RowsOf(list), output);
        output.Flush();
        std::string const text = screen.Read();
        EXPECT_TRUE(std::ranges::all_of(text, [](char c) {
            return c == '\n' || (c >= ' ' && c < '\x7F');
        })) << text;
        Json const document = Json::parse(text);
        EXPECT_EQ(RowObject(list[0]),
                  document.contains("rows") ? document.at("rows").at(0) : document);
    }
}

TEST(JsonRowsTest, FailureHasWhatIsKnownOfIt) {
    EXPECT_EQ((Json{{"schemaVersion", 1},
                    {"outcome", "failed"},
                    {"exitStatus", 4},
                    {"code", -6},
                    {"message", "refused"}}),
              Json::parse(FailureText({4, -6, {}, "refused"})));
    EXPECT_EQ((Json{{"schemaVersion", 1},
                    {"outcome", "failed"},
                    {"exitStatus", 1},
                    {"agentError", 0},
                    {"message", "reported"}}),
              Json::parse(FailureText({1, {}, 0, "reported"})));
}

// RFC 4648, section 10.
TEST(JsonRowsTest, EncodesTheTestVectorsOfTheBase64Standard) {
    EXPECT_EQ("", EncodeBase64(""));
    EXPECT_EQ("Zg==", EncodeBase64("f"));
    EXPECT_EQ("Zm8=", EncodeBase64("fo"));
    EXPECT_EQ("Zm9v", EncodeBase64("foo"));
    EXPECT_EQ("Zm9vYg==", EncodeBase64("foob"));
    EXPECT_EQ("Zm9vYmE=", EncodeBase64("fooba"));
    EXPECT_EQ("Zm9vYmFy", EncodeBase64("foobar"));
}

TEST(JsonRowsTest, EncodesHighBytesAndTheWholeAlphabet) {
    EXPECT_EQ("////", EncodeBase64("\xFF\xFF\xFF"));
    EXPECT_EQ("+/+/", EncodeBase64("\xFB\xFF\xBF"));
    EXPECT_EQ(
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/",
        EncodeBase64(std::string_view("\x00\x10\x83\x10\x51\x87\x20\x92\x8b\x30\xd3\x8f\x41\x14"
                                      "\x93\x51\x55\x97\x61\x96\x9b\x71\xd7\x9f\x82\x18\xa3\x92"
                                      "\x59\xa7\xa2\x9a\xab\xb2\xdb\xaf\xc3\x1c\xb3\xd3\x5d\xb7"
                                      "\xe3\x9e\xbb\xf3\xdf\xbf",
                                      48)));
}

} // namespace
