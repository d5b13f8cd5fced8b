// Tests writing, publishing, reading and removing of both documents. RequestDocumentTest and
// ResponseDocumentTest test their contents.
#include "compliance/ExchangeDocument.h"

#include <cerrno>
#include <vector>

#include <sys/stat.h>

#include "compliance/RequestDocument.h"
#include "compliance/ResponseDocument.h"
#include "files/FileErrors.h"
#include "tests/compliance/ExchangeFiles.h"
#include "tests/files/RecordedSleeps.h"
#include "tests/files/SystemCalls.h"

namespace {

namespace fs = std::filesystem;
using namespace ExchangeFiles;
using std::string;

struct Document {
    string directory;
    string file;
    string temporary;
    // Returns false after the exception that reports a failed write.
    bool (*write)();
    void (*release)();
};

template <class Failure>
bool Writes(void (*write)()) {
    try {
        write();
        return true;
    } catch (Failure const&) {
        return false;
    }
}

bool WriteRequest() {
    return Writes<ClientComplianceRequestIOWriteFailure>(
        [] { ClientComplianceRequestIOWrite(CreateComplianceRequestProgress()); });
}

bool WriteResponse() {
    return Writes<ClientComplianceResponseIOWriteFailure>(
        [] { ClientComplianceResponseIOWrite(ClientComplianceResponse(ClientComplianceOpen)); });
}

Document const documents[] = {{requestDirectory, requestFile, requestTemporary, WriteRequest,
                               ClientComplianceRequestIORelease},
                              {responseDirectory, responseFile, responseTemporary, WriteResponse,
                               ClientComplianceResponseIORelease}};

void ForEachDocument(void (*body)(Document const&)) {
    for (Document const& document : documents)
        Sandbox::RunWithDirectories([&] { body(document); });
}

struct stat StatusOf(string const& path) {
    struct stat status {};
    EXPECT_EQ(0, stat(path.c_str(), &status)) << path;
    return status;
}

// The content after a successful write. Removes the document.
string Whole(Document const& document) {
    EXPECT_TRUE(document.write());
    string const bytes = ReadWholeFile(document.file);
    for (int round = 0; round < 2; ++round) {
        document.release(); // Accepts the absence of the document.
        EXPECT_FALSE(Exists(document.file));
    }
    return bytes;
}

TEST(ExchangeDocumentTest, IsOnDiskAndClosedBeforeItIsPublished) {
    ForEachDocument([](Document const& document) {
        SystemCalls system;
        EXPECT_TRUE(document.write());
        EXPECT_EQ((std::vector<string>{"open RDWR|CREAT|TRUNC 666", "setfd 1", "fsync", "close",
                                       "rename " + document.temporary + ' ' + document.file}),
                  system.Log({"open", "setfd", "fsync", "close", "rename"}));
    });
}

TEST(ExchangeDocumentTest, ReplacesAnOldDocumentByANewFile) {
    ForEachDocument([](Document const& document) {
        umask(022);
        string const whole = Whole(document);
        WriteWholeFile(document.file, "old");
        ino_t const old = StatusOf(document.file).st_ino;
        SystemCalls system;
        system.Fail("unlink", EBUSY); // The move is retried.
        EXPECT_TRUE(document.write());
        EXPECT_EQ(whole, ReadWholeFile(document.file));
        EXPECT_NE(old, StatusOf(document.file).st_ino);
        EXPECT_EQ(0644U, StatusOf(document.file).st_mode & 07777U);
        EXPECT_FALSE(Exists(document.temporary));
    });
}

TEST(ExchangeDocumentTest, OverwritesAnOldTemporaryDocumentAndKeepsItsMode) {
    ForEachDocument([](Document const& document) {
        string const whole = Whole(document);
        WriteWholeFile(document.temporary, string(5000, 'x'));
        fs::permissions(document.temporary, fs::perms(0600));
        EXPECT_TRUE(document.write());
        EXPECT_EQ(whole, ReadWholeFile(document.file));
        EXPECT_EQ(0600U, StatusOf(document.file).st_mode & 07777U);
    });
}

// The link itself becomes the document, and its target is overwritten.
TEST(ExchangeDocumentTest, FollowsLinkAtTheTemporaryDocument) {
    ForEachDocument([](Document const& document) {
        string const whole = Whole(document);
        WriteWholeFile("/opt/elsewhere", string(5000, 'x'));
        fs::create_symlink("/opt/elsewhere", document.temporary);
        EXPECT_TRUE(document.write());
        EXPECT_EQ(whole, ReadWholeFile("/opt/elsewhere"));
        EXPECT_EQ("/opt/elsewhere", fs::read_symlink(document.file));
    });
}

// Deliberate: after a failure, the unfinished document is published.
TEST(ExchangeDocumentTest, FailedWritePublishesTheUnfinishedDocument) {
    ForEachDocument([](Document const& document) {
        string const whole = Whole(document);
        std::size_t failures = 0;
        for (bool written = false; !written; ++failures) {
            SystemCalls system;
            system.Fail("write", ENOSPC, failures);
            written = document.write();
            string const part = ReadWholeFile(document.file);
            EXPECT_EQ(written, part == whole) << failures;
            EXPECT_TRUE(whole.starts_with(part)) << failures;
            EXPECT_EQ(system.Count("open"), system.Count("close")) << failures;
            EXPECT_FALSE(Exists(document.temporary)) << failures;
            document.release();
        }
        EXPECT_LT(2U, failures);
    });
}

TEST(ExchangeDocumentTest, FailedFlushOrCloseIsReportedForACompleteDocument) {
    ForEachDocument([](Document const& document) {
        string const whole = Whole(document);
        for (char const* const call : {"fsync", "close"}) {
            SystemCalls system;
            system.Fail(call, EIO);
            EXPECT_FALSE(document.write()) << call;
            EXPECT_EQ(system.Count("open"), system.Count("close")) << call;
            EXPECT_EQ(whole, ReadWholeFile(document.file)) << call;
            EXPECT_FALSE(Exists(document.temporary)) << call;
        }
    });
}

// A second attempt to write would succeed.
TEST(ExchangeDocumentTest, FailedOpenIsNotRetriedAndPublishesTheTemporaryFile) {
    ForEachDocument([](Document const& document) {
        WriteWholeFile(document.temporary, "of somebody else");
        SystemCalls system;
        system.Fail("open", EACCES);
        EXPECT_FALSE(document.write());
        EXPECT_EQ("of somebody else", ReadWholeFile(document.file));
    });
}

// Deliberate: a refused rename counts as a success, so it is not retried and nothing is removed.
TEST(ExchangeDocumentTest, RefusedRenameCountsAsSuccess) {
    ForEachDocument([](Document const& document) {
        string const whole = Whole(document);
        RecordedSleeps const sleeps;
        for (bool const opens : {true, false}) {
            SystemCalls system;
            system.Fail("rename", EACCES);
            if (!opens)
                system.Fail("open", EACCES);
            EXPECT_EQ(opens, document.write()) << "only the failure to write is reported";
            EXPECT_EQ(1U, system.Count("rename"));
            EXPECT_EQ(whole, ReadWholeFile(document.temporary));
            EXPECT_FALSE(Exists(document.file));
        }
        EXPECT_EQ(0U, sleeps.TotalMicroseconds());
    });
}

// The total of the sleeps of one move with all retries.
constexpr unsigned long long microsecondsOfRetries = 2'032'000;

TEST(ExchangeDocumentTest, MissingDirectoryFailsAfterTheRetriesOfOneMove) {
    ForEachDocument([](Document const& document) {
        fs::remove(document.directory);
        RecordedSleeps const sleeps;
        EXPECT_FALSE(document.write());
        EXPECT_EQ(microsecondsOfRetries, sleeps.TotalMicroseconds());
    });
}

TEST(ExchangeDocumentTest, FailedMoveRemovesTheTemporaryDocument) {
    ForEachDocument([](Document const& document) {
        fs::create_directories(document.file + "/inside");
        RecordedSleeps const sleeps;
        EXPECT_FALSE(document.write());
        EXPECT_EQ(2 * microsecondsOfRetries, sleeps.TotalMicroseconds());
        EXPECT_FALSE(Exists(document.temporary));
        EXPECT_TRUE(Exists(document.file + "/inside"));
    });
}

// A nonempty directory can be renamed to a free path, but it cannot be removed or replaced.
TEST(ExchangeDocumentTest, DirectoryWithTheTemporaryNameIsPublishedOnce) {
    ForEachDocument([](Document const& document) {
        fs::create_directories(document.temporary + "/inside");
        EXPECT_FALSE(document.write());
        EXPECT_TRUE(Exists(document.file + "/inside"));
        EXPECT_FALSE(Exists(document.temporary));
        fs::create_directories(document.temporary + "/inside");
        RecordedSleeps const sleeps;
        EXPECT_THROW(document.write(), FileIOError);
        EXPECT_THROW(document.release(), FileIOError);
    });
}

// Long enough for two chunks and one byte.
SANDBOX_TEST(ExchangeDocumentTest, IsReadInChunksOfAtMost65568Bytes) {
    string const head = "<VeskaClientComplianceResponse><ResponseType>Open</ResponseType>";
    string const tail = "</VeskaClientComplianceResponse>";
    WriteWholeFile(responseFile,
                   head + string(2 * 65568 + 1 - head.size() - tail.size(), ' ') + tail);
    SystemCalls system;
    EXPECT_EQ(ClientComplianceOpen, ClientComplianceResponseIORead().type);
    for (string const& call : system.Log({"read"}))
        EXPECT_GE(65568U, std::stoul(call.substr(5)));
}

// Returns whether the request is readable. Expects that the record keeps its value if it is not.
bool CanReadRequest() {
    ClientComplianceRequest request = CreateComplianceRequestOpen("old", "", 0);
    bool const isRead = ClientComplianceRequestIORead(request);
    EXPECT_EQ(isRead ? "" : "old", request.url);
    return isRead;
}

SANDBOX_TEST(ExchangeDocumentTest, FileThatShrinksWhileItIsReadIsUnreadable) {
    WriteRequest();
    WriteResponse();
    SystemCalls system;
    system.Before("read", [] { fs::resize_file(requestFile, 0); });
    EXPECT_FALSE(CanReadRequest());
    system.Before("read", [] { fs::resize_file(responseFile, 0); });
    EXPECT_THROW(ClientComplianceResponseIORead(), DebuggableException);
}

SANDBOX_TEST(ExchangeDocumentTest, FailedCallMakesItUnreadableAndLeaksNoDescriptor) {
    WriteRequest();
    WriteResponse();
    EXPECT_TRUE(CanReadRequest());
    for (string const call : {"open", "seek", "read", "close"}) {
        int const next = NextDescriptor();
        SystemCalls system;
        system.Fail(call, EIO);
        EXPECT_FALSE(CanReadRequest()) << call;
        system.Fail(call, EIO);
        EXPECT_THROW(ClientComplianceResponseIORead(), FileIOError) << call;
        SystemCalls::Pause const pause;
        EXPECT_EQ(next, NextDescriptor()) << call;
    }
}

TEST(ExchangeDocumentTest, EachTypeHasItsText) {
    for (ClientComplianceType const known :
         {ClientComplianceOpen, ClientComplianceClose, ClientComplianceProgress}) {
        ClientComplianceType type = ClientComplianceType{77};
        EXPECT_TRUE(ParseType(TypeText(known), type));
        EXPECT_EQ(known, type);
    }
    EXPECT_STREQ("", TypeText(static_cast<ClientComplianceType>(3)));
    EXPECT_STREQ("", TypeText(static_cast<ClientComplianceType>(-1)));
    for (string const text : {"", "open", " Open", "Open ", "OpenClose"}) {
        ClientComplianceType type = ClientComplianceClose;
        EXPECT_FALSE(ParseType(text, type)) << text;
        EXPECT_EQ(ClientComplianceClose, type) << text;
    }
}

} // namespace
