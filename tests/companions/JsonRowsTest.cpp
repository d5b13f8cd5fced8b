#include "companions/JsonRows.h"

#include "tests/companions/RowList.h"
#include "tests/companions/Terminal.h"

namespace {

std::string JsonText(RowList const& list, Provenance const& provenance = {}) {
    return OutputOf([&](Output& output) { WriteJson(RowsOf(list), provenance, output); });
}

std::string NdjsonText(RowList const& list) {
    return OutputOf([&](Output& output) { WriteNdjson(RowsOf(list), Provenance(), output); });
}

std::string FailureText(JsonFailure const& failure) {
    return OutputOf([&](Output& output) { WriteFailure(failure, Provenance(), output); });
}

Json RowObject(Row const& row) { return Json::parse(JsonText({row})).at("rows").at(0); }

Json WithoutProvenance(std::string const& text) {
    Json document = Json::parse(text);
    EXPECT_EQ(1u, document.erase("provenance"));
    return document;
}

TEST(JsonRowsTest, WritesDocumentWithAndWithoutRows) {
    Json document = {
        {"schemaVersion", 1}, {"outcome", "finished"}, {"rowCount", 0}, {"rows", Json::array()}};
    EXPECT_EQ(document, WithoutProvenance(JsonText({})));
    document["rowCount"] = 2;
    document["rows"] = {{{"designator", "a"},
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
                         {"comment", ""}}};
    EXPECT_EQ(document, WithoutProvenance(JsonText(
                            {{{"a", "b", "c", "12", "e", "f"}}, {{"", "", "", "", "", ""}}})));
}

TEST(JsonRowsTest, AsciiAndUnicodeCharactersRoundTrip) {
    std::string text;
    for (char c = 1; c != 0x7F; ++c)
        text += c;
    text += "\x7F\xC2\x80\xC2\xB5\xE2\x80\xA8\xEF\xBF\xBE\xF0\x9F\x98\x80</script>";
    Json const row = RowObject({text, "", "", "", "", ""});
    EXPECT_EQ(text, row.at("designator").get<std::string>());
    EXPECT_EQ(6u, row.size());
    EXPECT_EQ("\x7F", RowObject({"\x7F", "", "", "", "", ""}).at("designator").get<std::string>());
}

TEST(JsonRowsTest, EscapesTextOfQuotesOrBackslashesOnly) {
    for (std::string const text : {"\"", "\"\"", "\\", "\\\\"}) {
        EXPECT_EQ(text, RowObject({text, "", "", "", "", ""}).at("designator").get<std::string>());
    }
}

TEST(JsonRowsTest, AddsBase64OfTextThatIsNotUtf8) {
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

TEST(JsonRowsTest, WritesNdjsonLineForHeadAndEachRow) {
    RowList const list = {{{"a\nb", "\xB5", "c", "d", "e", "f"}}, {{"g", "h", "i", "j", "k", "l"}}};
    Json head = Json::parse(JsonText(list));
    head.erase("rows");
    EXPECT_EQ((std::vector<Json>{head, RowObject(list[0]), RowObject(list[1])}),
              ParseLines(NdjsonText(list)));
    EXPECT_EQ(0, ParseLines(NdjsonText({})).at(0).at("rowCount"));
}

Provenance KnownProvenance() {
    Provenance provenance;
    provenance.url = "http://host/\xB5";
    provenance.document = "Doc";
    provenance.flags = 5;
    provenance.host = "box";
    provenance.userId = 1000;
    provenance.start = {1772353800, 125'000'000};
    provenance.end = {1772353802, 625'000'000};
    provenance.duration = milliseconds(2500);
    provenance.response = {true, 77, 10, {1772353801, 0}, {1772353802, 0}};
    provenance.agentModified = timespec{1772353000, 0};
    return provenance;
}

TEST(JsonRowsTest, WritesAllMembersOfProvenance) {
    EnvironmentVariable const zone("TZ", "CET-1");
    tzset();
    RowList const list = {{{"a", "Pass", "", "", "", ""}},
                          {{"b", "\xB5", "", "", "", ""}},
                          {{"c", "\\xb5", "", "", "", ""}},
                          {{"d", "Pass", "", "", "", ""}}};
    EXPECT_EQ(
        (Json{{"schemaVersion", 2},
              {"programVersion", CC_VERSION},
              {"url", "http://host/\\xb5"},
              {"urlBase64", "aHR0cDovL2hvc3QvtQ=="},
              {"document", "Doc"},
              {"flags", 5},
              {"host", "box"},
              {"userId", 1000},
              {"start", "2026-03-01T09:30:00.125+01:00"},
              {"end", "2026-03-01T09:30:02.625+01:00"},
              {"durationSeconds", 2.5},
              {"response",
               {{"inode", 77}, {"modified", "2026-03-01T09:30:01.000+01:00"}, {"fresh", true}}},
              {"agent",
               {{"path", "/opt/VeskaClient/bin/VeskaClient"},
                {"modified", "2026-03-01T09:16:40.000+01:00"}}},
              {"results", {{"Pass", 2}, {"\\xb5", 2}}}}),
        Json::parse(JsonText(list, KnownProvenance())).at("provenance"));
}

TEST(JsonRowsTest, WritesNullForUnknownProvenance) {
    Json const provenance = Json::parse(JsonText({})).at("provenance");
    for (char const* const member : {"url", "document", "response"})
        EXPECT_TRUE(provenance.at(member).is_null()) << member;
    EXPECT_TRUE(provenance.at("agent").at("modified").is_null());
    EXPECT_EQ(Json::object(), provenance.at("results"));
}

TEST(JsonRowsTest, MarksStaleResponseAsNotFresh) {
    Provenance provenance = KnownProvenance();
    provenance.stale = true;
    EXPECT_EQ(false,
              Json::parse(JsonText({}, provenance)).at("provenance").at("response").at("fresh"));
}

TEST(JsonRowsTest, TerminalReceivesPrintableAsciiOfTheSameRows) {
    RowList const list = {
        {{"\x1b[m\x7F", "\xB5", "\xC2\x9B", "\t\n", "\xE2\x80\xAE", "caf\xC3\xA9"}}};
    using Write = void (*)(Rows const&, Provenance const&, Output&);
    for (bool const ndjson : {false, true}) {
        Write const write =
            ndjson ? static_cast<Write>(WriteNdjson) : static_cast<Write>(WriteJson);
        std::string const text = TerminalOutputOf(
            [&](Output& output) { write(RowsOf(list), KnownProvenance(), output); });
        EXPECT_TRUE(std::ranges::all_of(text, [](char c) {
            return c == '\n' || (c >= ' ' && c < '\x7F');
        })) << text;
        EXPECT_EQ(RowObject(list[0]),
                  ndjson ? ParseLines(text).at(1) : Json::parse(text).at("rows").at(0));
    }
}

TEST(JsonRowsTest, FailureHasKnownMembersOnly) {
    Json document = {{"schemaVersion", 1}, {"outcome", "failed"}, {"exitStatus", 4},
                     {"failure", "busy"},  {"code", -6},          {"message", "refused"}};
    EXPECT_EQ(document, WithoutProvenance(FailureText({4, "busy", -6, {}, "refused"})));
    document.erase("code");
    document["agentError"] = 0;
    std::string const text = FailureText({4, "busy", {}, 0, "refused"});
    EXPECT_EQ(document, WithoutProvenance(text));
    EXPECT_FALSE(Json::parse(text).at("provenance").contains("results"));
}

} // namespace
