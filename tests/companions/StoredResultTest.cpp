#include "companions/StoredResult.h"

#include <pthread.h>

#include "tests/companions/StoredResults.h"

namespace {

using StoredJson = nlohmann::ordered_json;

class StoredResultTest : public testing::Test {
protected:
    // Reads a file with this content, and keeps its rows.
    StoredResult Read(std::string const& text) {
        WriteFile(file, text);
        rows.clear();
        return ReadStoredResult(file, StoredKind::regularFile,
                                [this](StoredRow&& row) { rows.push_back(std::move(row)); });
    }

    // The message without the file.
    std::string Refusal(std::string const& text) {
        std::string const message = MessageOf<StoredResultError>([&] { Read(text); });
        if (message == "accepted")
            return message;
        EXPECT_THAT(message, StartsWith(file + ":"));
        return message.substr(file.size() + 1);
    }

    void ExpectRefused(std::string const& text, std::string const& expectation) {
        EXPECT_THAT(Refusal(text), EndsWith(": expected " + expectation));
    }

    TemporaryDirectory const directory;
    std::string const file = directory / "result.json";
    std::vector<StoredRow> rows;
};

// Returns the message that refuses to read the path.
std::string RefusalOf(std::string const& path, StoredKind kind) {
    return MessageOf<StoredResultError>([&] { ReadStoredResult(path, kind, [](StoredRow&&) {}); });
}

RowList const storedList = {
    {{"a", "Pass", "t", "1", "e", "f"}},
    {{"\xFF", "caf\xE9", "\xFF\xFE", "\xB5", "\x80 text", "\xC2"}},
    {{"", "", "", "", "\"\\\n\t\x01", "\xE2\x80\xAE"}},
};
std::string const oneRow = ResultText({storedList[0]});

// The document with its first two rows, to change it.
StoredJson StoredDocument() {
    return StoredJson::parse(ResultText({storedList[0], storedList[1]}));
}

std::string NdjsonText(Provenance const& provenance) {
    return OutputOf([&](Output& output) { WriteNdjson(RowsOf(storedList), provenance, output); });
}

TEST_F(StoredResultTest, RoundTripsOutputOfTheQuery) {
    Provenance provenance = ProvenanceOf("web\xFF");
    provenance.document = nullptr;
    for (std::string const& text : {ResultText(storedList, provenance), NdjsonText(provenance)}) {
        StoredResult const result = Read(text);
        EXPECT_TRUE(result.finished);
        EXPECT_EQ(3u, result.rowCount);
        EXPECT_TRUE(std::ranges::equal(storedList, rows, std::ranges::equal));
        ASSERT_TRUE(result.provenance);
        EXPECT_EQ("web\xFF", result.provenance->host);
        EXPECT_EQ("http://site/", result.provenance->url);
        EXPECT_EQ(std::nullopt, result.provenance->document);
        EXPECT_EQ(resultTime, result.provenance->start.time.tv_sec);
        EXPECT_EQ(resultTime + 10, result.provenance->end.time.tv_sec);
        EXPECT_EQ(1700000000, result.provenance->agentModified->time.tv_sec);
        EXPECT_FALSE(result.provenance->stale);
    }
}

TEST_F(StoredResultTest, ReadsStaleResponses) {
    Provenance provenance = ProvenanceOf("web1");
    provenance.stale = true;
    EXPECT_TRUE(Read(ResultText({}, provenance)).provenance->stale);
}

TEST_F(StoredResultTest, ReadsFailures) {
    StoredResult const result = Read(OutputOf([](Output& output) {
        WriteFailure({4, "busy", -6, {}, "refused"}, ProvenanceOf("web1"), output);
    }));
    EXPECT_FALSE(result.finished);
    EXPECT_EQ(4, result.exitStatus);
    EXPECT_EQ("busy", result.failure);
    EXPECT_EQ("refused", result.message);
    EXPECT_EQ("web1", result.provenance->host);
}

TEST_F(StoredResultTest, DocumentOfVersion1HasNoProvenance) {
    StoredResult const result =
        Read(R"({"schemaVersion":1,"outcome":"finished","rowCount":1,"rows":[
        {"designator":"a","result":"r","resultType":"",
         "evaluationTime":"","description":"","comment":""}
    ]})");
    EXPECT_TRUE(result.finished);
    EXPECT_FALSE(result.provenance);
    EXPECT_EQ("r", rows.at(0)[resultField]);
    EXPECT_FALSE(
        Read(R"({"schemaVersion":1,"outcome":"failed","exitStatus":4,"message":"m"})").provenance);
}

TEST_F(StoredResultTest, OrderOfMembersDoesNotMatter) {
    // nlohmann::json sorts members, so the rows follow after the provenance and before others.
    EXPECT_EQ("web1", Read(Json::parse(ResultText(storedList)).dump(2)).provenance->host);
    EXPECT_TRUE(std::ranges::equal(storedList, rows, std::ranges::equal));
    StoredJson document = StoredDocument();
    StoredJson& row = document["rows"][1];
    StoredJson const text = row["comment"];
    row.erase("comment");
    row["comment"] = text;
    Read(document.dump());
    EXPECT_TRUE(std::ranges::equal(storedList[1], rows.at(1)));
}

TEST_F(StoredResultTest, SkipsUnknownMembers) {
    StoredJson document = StoredDocument();
    StoredJson const unknown = {{"outcome", 1}, {"rows", {1, {{"designator", 2}}}}};
    document["new"] = unknown;
    document["provenance"]["new"] = {unknown, unknown};
    document["rows"][1]["new"] = unknown;
    document["rows"][1]["newText"] = "text";
    document["rows"][1]["newBase64"] = 5;
    Read(document.dump());
    EXPECT_TRUE(std::ranges::equal(storedList[1], rows.at(1)));
    EXPECT_EQ(2u, rows.size());
}

TEST_F(StoredResultTest, RefusesEveryTruncation) {
    std::string text = ResultText({storedList[0], storedList[1]});
    text.pop_back(); // the line feed
    for (std::size_t length = 0; length < text.size(); ++length)
        EXPECT_NE("accepted", Refusal(text.substr(0, length))) << length;
    EXPECT_EQ("accepted", Refusal(text));
}

TEST_F(StoredResultTest, RefusesNdjsonWithoutItsLastRow) {
    std::string const text = NdjsonText(ProvenanceOf("web1"));
    EXPECT_EQ("4:1: expected 3 rows, not 2", Refusal(text.substr(0, text.rfind("{\"designator"))));
}

TEST_F(StoredResultTest, RefusalHasThePositionAndTheExpectation) {
    EXPECT_EQ("1:1: expected JSON: unexpected end of input; expected '[', '{', or a literal",
              Refusal(""));
    EXPECT_EQ("2:3: expected JSON: invalid literal", Refusal("\nnever"));
    EXPECT_EQ("1:2: expected an object", Refusal("[{}]"));
    EXPECT_EQ("1:3: expected an object", Refusal("42"));
    EXPECT_EQ("1:3: expected the member \"schemaVersion\" of a result of compliance-query",
              Refusal("{}"));
    EXPECT_EQ("1:41: expected \"schemaVersion\": 1",
              Refusal(R"({"schemaVersion":2,"outcome":"finished"})"));
    EXPECT_EQ("1:38: expected \"finished\" or \"failed\" as \"outcome\"",
              Refusal(R"({"schemaVersion":1,"outcome":"other"})"));
    EXPECT_EQ("1:21: expected an integer as \"schemaVersion\"",
              Refusal(R"({"schemaVersion":"1"})"));
    ExpectRefused(R"({"schemaVersion":1.5})", "an integer as \"schemaVersion\"");
    ExpectRefused(R"({"schemaVersion":1e999})", "JSON: a number is out of range");
}

TEST_F(StoredResultTest, RefusesDocumentsWithoutARequiredMember) {
    for (auto const& [members, missing] :
         {std::pair{"", "outcome"},
          {R"(,"outcome":"failed","message":"m")", "exitStatus"},
          {R"(,"outcome":"failed","exitStatus":3)", "message"},
          {R"(,"outcome":"finished","rows":[])", "rowCount"},
          {R"(,"outcome":"finished","rowCount":0,"rows":[],"provenance":{"host":"h"})",
           "provenance/start"}})
        ExpectRefused(R"({"schemaVersion":1)" + std::string(members) + "}",
                      "the member \"" + std::string(missing) +
                          "\" of a result of compliance-query");
}

TEST_F(StoredResultTest, RefusesValuesOfAnotherType) {
    std::string const longText(4097, 'h');
    for (auto const& [pointer, value, expectation] :
         {std::tuple{"/rows/0/comment", StoredJson(5), "a string as \"comment\""},
          {"/rows/0/comment", nullptr, "a string as \"comment\""},
          {"/rows/0/comment", {{"a", 1}}, "a string as \"comment\""},
          {"/rows/1/commentBase64", "=x", "base64 as \"commentBase64\""},
          {"/provenance/hostBase64", "=x", "base64 as \"provenance/hostBase64\""},
          {"/rows/1", 5, "a row"},
          {"/rows/1", {1, 2}, "a row"},
          {"/rowCount", 1, "1 row, not 2"},
          {"/provenance/host", 5, "a string of at most 4096 bytes as \"provenance/host\""},
          {"/provenance/host", longText, "a string of at most 4096 bytes as \"provenance/host\""},
          {"/rowCount", true, "a number of rows as \"rowCount\""},
          {"/rowCount", -1, "a number of rows as \"rowCount\""},
          {"/rowCount", UINT64_MAX, "a number of rows as \"rowCount\""},
          {"/rows", nullptr, "an array as \"rows\""},
          {"/rows", {{"a", 1}}, "an array as \"rows\""},
          {"/outcome", nullptr, "a string of at most 4096 bytes as \"outcome\""},
          {"/provenance/start", 5, "a time (RFC 3339) as \"provenance/start\""},
          {"/provenance/start", "now", "a time (RFC 3339) as \"provenance/start\""},
          {"/provenance/response/fresh", "no", "true or false as \"provenance/response/fresh\""}}) {
        SCOPED_TRACE(pointer);
        StoredJson document = StoredDocument();
        document[StoredJson::json_pointer(pointer)] = value;
        ExpectRefused(document.dump(), expectation);
    }
}

TEST_F(StoredResultTest, RefusesExitStatusOutsideOf0To255) {
    std::string const failure = R"({"schemaVersion":1,"outcome":"failed","message":"m",)";
    EXPECT_EQ(255, Read(failure + "\"exitStatus\":255}").exitStatus);
    for (std::string const status : {"256", "-1", "99999999999999", "4294967300"})
        ExpectRefused(failure + "\"exitStatus\":" + status + "}",
                      "an integer from 0 to 255 as \"exitStatus\"");
}

TEST_F(StoredResultTest, RefusesRepeatedMembers) {
    for (std::string const member : {"outcome", "rows", "provenance", "rowCount"})
        ExpectRefused("{\"" + member + "\":" + Json::parse(oneRow).at(member).dump() + "," +
                          oneRow.substr(1),
                      "the member \"" + member + "\" once");
    for (auto const& [member, expectation] :
         {std::pair{"\"host\"", "the member \"provenance/host\" once"},
          {"\"comment\"", "the member \"comment\" once in the row"}}) {
        std::string repeated = oneRow;
        repeated.insert(repeated.find(member), std::string(member) + ":\"other\",");
        ExpectRefused(repeated, expectation);
    }
}

TEST_F(StoredResultTest, NameWithSlashIsNotAPath) {
    StoredJson document = StoredDocument();
    document["provenance"].erase("host");
    document["provenance/host"] = "web1";
    EXPECT_EQ(std::nullopt, Read(document.dump()).provenance);
}

TEST_F(StoredResultTest, AgentProgramMayBeUnknown) {
    Provenance provenance = ProvenanceOf("web1");
    provenance.agentModified = {};
    EXPECT_EQ(std::nullopt, Read(ResultText({}, provenance)).provenance->agentModified);
}

TEST_F(StoredResultTest, StateOfMissingFileIsAnError) {
    EXPECT_EQ(file + ": could not be opened: No such file or directory",
              MessageOf<StoredResultError>([this] { StateOfFile(file); }));
}

TEST_F(StoredResultTest, UnknownFreshnessIsStale) {
    StoredJson document = StoredDocument();
    document["provenance"]["response"] = nullptr;
    EXPECT_TRUE(Read(document.dump()).provenance->stale);
    document["provenance"].erase("response");
    EXPECT_TRUE(Read(document.dump()).provenance->stale);
}

TEST_F(StoredResultTest, LimitsLengthOfTextsAndWhitespace) {
    auto const textWith = [](std::size_t length) {
        std::string const comment(length, 'x');
        return ResultText({ResultRow("d", "Pass", comment), ResultRow("e", "Pass", comment)});
    };
    EXPECT_EQ("accepted", Refusal(textWith(maxStoredTextBytes - 1000)));
    // The limit is checked for chunks.
    std::size_t const tooLong = maxStoredTextBytes + 100'000;
    for (std::string const& text : {textWith(tooLong), "{" + std::string(tooLong, ' ') + "}"})
        ExpectRefused(text, "a text, number or whitespace of at most 1048576 bytes");
}

TEST_F(StoredResultTest, RefusesRowsWithMissingField) {
    for (std::string const name : rowFieldNames) {
        StoredJson document = StoredDocument();
        document["rows"][0].erase(name);
        EXPECT_THAT(Refusal(document.dump()), HasSubstr("the member \"" + name + "\" in the row"));
    }
}

TEST_F(StoredResultTest, RefusesDeepNesting) {
    std::string deep;
    for (std::size_t level = 0; level < 100'000; ++level)
        deep += "{\"a\":";
    EXPECT_EQ("1:82: expected at most 16 levels", Refusal(deep));
    EXPECT_EQ("1:2: expected an object", Refusal(std::string(100'000, '[')));
}

TEST_F(StoredResultTest, RefusesTextAfterTheDocument) {
    EXPECT_EQ("3:1: expected the end of the file", Refusal(oneRow + "{}"));
    EXPECT_EQ("accepted", Refusal(oneRow + " \r\n\t"));
}

TEST_F(StoredResultTest, RefusalOmitsLongTextsOfDamagedFile) {
    EXPECT_LT(Refusal("{\"schemaVersion\":\"" + std::string(100'000, 'x')).size(), 200u);
}

TEST_F(StoredResultTest, RefusesEntriesThatAreNotRegularFiles) {
    std::string const fifo = directory / "fifo";
    ASSERT_EQ(0, mkfifo(fifo.c_str(), 0600));
    for (std::string const& path : {fifo, directory.path(), std::string("/dev/zero")})
        EXPECT_EQ(path + ": expected a regular file", RefusalOf(path, StoredKind::regularFile));
}

TEST_F(StoredResultTest, RefusesEndlessAndUnreadableInput) {
    EXPECT_EQ(file + ": could not be opened: No such file or directory",
              RefusalOf(file, StoredKind::any));
    EXPECT_EQ("/proc/self/mem: could not be read: Input/output error",
              RefusalOf("/proc/self/mem", StoredKind::any));
    EXPECT_EQ("/dev/zero:1:2: expected JSON: unexpected end of input; expected '[', '{', or a "
              "literal",
              RefusalOf("/dev/zero", StoredKind::any));
}

void IgnoreSignal(int) {}

// The reader's thread gets signals while it waits for the bytes.
TEST_F(StoredResultTest, SignalDoesNotEndTheRead) {
    struct sigaction action {};
    action.sa_handler = IgnoreSignal;
    struct sigaction former {};
    ASSERT_EQ(0, sigaction(SIGUSR1, &action, &former));
    Pipe line;
    std::thread writer([&, reader = pthread_self()] {
        for (char const byte : oneRow) {
            pthread_kill(reader, SIGUSR1);
            usleep(100);
            EXPECT_EQ(1, write(line.writer(), &byte, 1));
        }
        line.CloseWriter();
    });
    EXPECT_EQ("accepted", RefusalOf("/dev/fd/" + std::to_string(line.reader()), StoredKind::any));
    writer.join();
    sigaction(SIGUSR1, &former, nullptr);
}

} // namespace
