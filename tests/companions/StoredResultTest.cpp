#include "companions/StoredResult.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <thread>
#include <vector>

#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "tests/companions/StoredResults.h"
#include "tests/support/TemporaryDirectory.h"

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
        try {
            Read(text);
        } catch (StoredResultError const& error) {
            std::string const message = error.what();
            EXPECT_TRUE(message.starts_with(file + ":")) << message;
            return message.substr(file.size() + 1);
        }
        return "accepted";
    }

    TemporaryDirectory const directory;
    std::string const file = directory / "result.json";
    std::vector<StoredRow> rows;
};

RowList const storedList = {
    {{"a", "Pass", "t", "1", "e", "f"}},
    {{"\xFF", "caf\xE9", "\xFF\xFE", "\xB5", "\x80 text", "\xC2"}},
    {{"", "", "", "", "\"\\\n\t\x01", "\xE2\x80\xAE"}},
};

TEST_F(StoredResultTest, RoundTripsOutputOfTheQuery) {
    Provenance provenance = ProvenanceOf("web\xFF");
    provenance.document = nullptr;
    for (bool const ndjson : {false, true}) {
        StoredResult const result = Read(OutputOf([&](Output& output) {
            if (ndjson)
                WriteNdjson(RowsOf(storedList), provenance, output);
            else
                WriteJson(RowsOf(storedList), provenance, output);
        }));
        EXPECT_TRUE(result.finished);
        EXPECT_EQ(3u, result.rowCount);
        ASSERT_EQ(storedList.size(), rows.size());
        for (std::size_t index = 0; index < rows.size(); ++index)
            EXPECT_TRUE(std::ranges::equal(storedList[index], rows[index])) << index;
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

TEST_F(StoredResultTest, ReadsStaleAnswers) {
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
    std::string const sorted = nlohmann::json::parse(ResultText(storedList)).dump(2);
    EXPECT_EQ("web1", Read(sorted).provenance->host);
    EXPECT_TRUE(std::ranges::equal(storedList[1], rows.at(1)));
}

TEST_F(StoredResultTest, SkipsUnknownMembers) {
    StoredJson document = StoredJson::parse(ResultText(storedList));
    StoredJson const unknown = {{"outcome", 1}, {"rows", {1, {{"designator", 2}}}}};
    document["new"] = unknown;
    document["provenance"]["new"] = {unknown, unknown};
    document["rows"][1]["new"] = unknown;
    document["rows"][1]["newBase64"] = 5;
    Read(document.dump());
    EXPECT_TRUE(std::ranges::equal(storedList[1], rows.at(1)));
    EXPECT_EQ(3u, rows.size());
}

TEST_F(StoredResultTest, RefusesEveryTruncation) {
    std::string text = ResultText({storedList[0], storedList[1]});
    text.pop_back(); // the line feed
    for (std::size_t length = 0; length < text.size(); ++length)
        EXPECT_NE("accepted", Refusal(text.substr(0, length))) << length;
    EXPECT_EQ("accepted", Refusal(text));
}

TEST_F(StoredResultTest, RefusesNdjsonWithoutItsLastRows) {
    std::string const text = OutputOf(
        [](Output& output) { WriteNdjson(RowsOf(storedList), ProvenanceOf("web1"), output); });
    std::string const shorter = text.substr(0, text.rfind("{\"designator"));
    EXPECT_EQ("4:1: expected 3 rows, not 2", Refusal(shorter));
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
}

// The valid document with one change.
std::string Changed(std::string const& pointer, StoredJson const& value) {
    StoredJson document = StoredJson::parse(ResultText({storedList[0], storedList[1]}));
    document[StoredJson::json_pointer(pointer)] = value;
    return document.dump();
}

TEST_F(StoredResultTest, RefusesValuesOfAnotherType) {
    for (auto const& [pointer, value, expectation] :
         {std::tuple{"/rows/0/comment", StoredJson(5), "a string as \"comment\""},
          std::tuple{"/rows/0/comment", StoredJson(nullptr), "a string as \"comment\""},
          std::tuple{"/rows/0/comment", StoredJson{{"a", 1}}, "a string as \"comment\""},
          std::tuple{"/rows/1/commentBase64", StoredJson("=x"), "base64 as \"commentBase64\""},
          std::tuple{"/rows/1", StoredJson(5), "a row"},
          std::tuple{"/rows/1", StoredJson{1, 2}, "a row"},
          std::tuple{"/rowCount", StoredJson(1), "1 row, not 2"},
          std::tuple{"/provenance/host", StoredJson(5),
                     "a string of at most 4096 bytes as \"provenance/host\""},
          std::tuple{"/provenance/host", StoredJson(std::string(4097, 'h')),
                     "a string of at most 4096 bytes as \"provenance/host\""},
          std::tuple{"/rowCount", StoredJson(true), "a number of rows as \"rowCount\""},
          std::tuple{"/rowCount", StoredJson(-1), "a number of rows as \"rowCount\""},
          std::tuple{"/rowCount", StoredJson(UINT64_MAX), "a number of rows as \"rowCount\""},
          std::tuple{"/rows", StoredJson(nullptr), "an array as \"rows\""},
          std::tuple{"/rows", StoredJson{{"a", 1}}, "an array as \"rows\""},
          std::tuple{"/provenance/start", StoredJson("now"),
                     "a time (RFC 3339) as \"provenance/start\""},
          std::tuple{"/provenance/response/fresh", StoredJson("no"),
                     "true or false as \"provenance/response/fresh\""}}) {
        std::string const refusal = Refusal(Changed(pointer, value));
        EXPECT_TRUE(refusal.ends_with(std::string(": expected ") + expectation)) << refusal;
    }
}

TEST_F(StoredResultTest, RefusesExitStatusAbove255) {
    auto const failure = [](std::string const& status) {
        return R"({"schemaVersion":1,"outcome":"failed","message":"m","exitStatus":)" + status +
               "}";
    };
    EXPECT_EQ(255, Read(failure("255")).exitStatus);
    for (std::string const status : {"256", "-1", "99999999999999", "4294967300"})
        EXPECT_TRUE(Refusal(failure(status))
                        .ends_with(": expected an integer from 0 to 255 as \"exitStatus\""))
            << status;
}

TEST_F(StoredResultTest, RefusesRepeatedMembers) {
    std::string const text = ResultText({storedList[0]});
    for (auto const& [member, path] :
         {std::pair{R"("outcome":"finished")", "outcome"}, std::pair{R"("rows":[])", "rows"},
          std::pair{R"("provenance":{})", "provenance"},
          std::pair{R"("rowCount":1)", "rowCount"}}) {
        std::string const refusal = Refusal("{" + std::string(member) + "," + text.substr(1));
        EXPECT_TRUE(refusal.ends_with(std::string(": expected the member \"") + path + "\" once"))
            << refusal;
    }
    std::string repeated = text;
    repeated.insert(repeated.find("\"host\""), "\"host\":\"other\",");
    EXPECT_TRUE(Refusal(repeated).ends_with(": expected the member \"provenance/host\" once"));
    repeated = text;
    repeated.insert(repeated.find("\"comment\""), "\"comment\":\"other\",");
    EXPECT_TRUE(Refusal(repeated).ends_with(": expected the member \"comment\" once in the row"));
}

TEST_F(StoredResultTest, NameWithSlashIsNotAPath) {
    StoredJson document = StoredJson::parse(ResultText({storedList[0]}));
    document["provenance"].erase("host");
    document["provenance/host"] = "web1";
    EXPECT_EQ(std::nullopt, Read(document.dump()).provenance);
}

TEST_F(StoredResultTest, UnknownFreshnessIsStale) {
    StoredJson document = StoredJson::parse(ResultText({storedList[0]}));
    document["provenance"]["response"] = nullptr;
    EXPECT_TRUE(Read(document.dump()).provenance->stale);
    document["provenance"].erase("response");
    EXPECT_TRUE(Read(document.dump()).provenance->stale);
}

TEST_F(StoredResultTest, LimitsLengthOfEachText) {
    auto const textWith = [](std::size_t length) {
        std::string const comment(length, 'x');
        return ResultText({ResultRow("d", "Pass", comment), ResultRow("e", "Pass", comment)});
    };
    EXPECT_EQ("accepted", Refusal(textWith(maxStoredTextBytes - 1000)));
    // The limit is checked for chunks.
    std::string const refusal = Refusal(textWith(maxStoredTextBytes + 100'000));
    EXPECT_TRUE(
        refusal.ends_with(": expected a text, number or whitespace of at most 1048576 bytes"))
        << refusal;
}

TEST_F(StoredResultTest, RefusesRowsWithMissingField) {
    for (char const* const name : rowFieldNames) {
        StoredJson document = StoredJson::parse(ResultText({storedList[0]}));
        document["rows"][0].erase(name);
        EXPECT_NE(
            std::string::npos,
            Refusal(document.dump()).find(std::string("the member \"") + name + "\" in the row"));
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
    std::string const text = ResultText({storedList[0]});
    EXPECT_EQ("3:1: expected the end of the file", Refusal(text + "{}"));
    EXPECT_EQ("accepted", Refusal(text + " \r\n\t"));
}

TEST_F(StoredResultTest, RefusalOmitsLongTextsOfDamagedFile) {
    EXPECT_LT(Refusal("{\"schemaVersion\":\"" + std::string(100'000, 'x')).size(), 200u);
}

TEST_F(StoredResultTest, RefusesEntriesThatAreNotRegularFiles) {
    std::string const fifo = directory / "fifo";
    ASSERT_EQ(0, mkfifo(fifo.c_str(), 0600));
    for (std::string const& path : {fifo, directory.path(), std::string("/dev/zero")})
        try {
            ReadStoredResult(path, StoredKind::regularFile, [](StoredRow&&) {});
            ADD_FAILURE() << path;
        } catch (StoredResultError const& error) {
            EXPECT_EQ(path + ": expected a regular file", error.what());
        }
}

TEST_F(StoredResultTest, RefusesEndlessInput) {
    try {
        ReadStoredResult("/dev/zero", StoredKind::any, [](StoredRow&&) {});
        ADD_FAILURE() << "accepted";
    } catch (StoredResultError const& error) {
        EXPECT_STREQ("/dev/zero:1:2: expected JSON: unexpected end of input; expected '[', '{', or "
                     "a literal",
                     error.what());
    }
}

TEST_F(StoredResultTest, LimitsLengthOfWhitespace) {
    std::string const refusal = Refusal("{" + std::string(maxStoredTextBytes + 100'000, ' ') + "}");
    EXPECT_TRUE(
        refusal.ends_with(": expected a text, number or whitespace of at most 1048576 bytes"))
        << refusal;
}

void IgnoreSignal(int) {}

// The reader's thread gets signals while it waits for the bytes.
TEST_F(StoredResultTest, SignalDoesNotEndTheRead) {
    struct sigaction action {};
    action.sa_handler = IgnoreSignal;
    struct sigaction former {};
    ASSERT_EQ(0, sigaction(SIGUSR1, &action, &former));
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    std::thread writer([&, reader = pthread_self()] {
        std::string const text = ResultText({storedList[0]});
        for (char const byte : text) {
            pthread_kill(reader, SIGUSR1);
            usleep(100);
            EXPECT_EQ(1, write(ends[1], &byte, 1));
        }
        close(ends[1]);
    });
    StoredResult result;
    EXPECT_NO_THROW(result = ReadStoredResult("/dev/fd/" + std::to_string(ends[0]), StoredKind::any,
                                              [](StoredRow&&) {}));
    writer.join();
    close(ends[0]);
    sigaction(SIGUSR1, &former, nullptr);
    EXPECT_EQ(1u, result.rowCount);
}

} // namespace
