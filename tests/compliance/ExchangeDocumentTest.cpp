// How the two documents are written, published and read, call by call. Their bytes are checked with
// each of them.
#include "compliance/ExchangeDocument.h"

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "compliance/RequestDocument.h"
#include "compliance/ResponseDocument.h"
#include "files/FileErrors.h"
#include "tests/compliance/ExchangeFiles.h"
#include "tests/files/SystemCalls.h"

namespace {

using namespace ExchangeFiles;

using Calls = std::vector<std::string>;

// The calls that change something, without the writes themselves.
Calls Steps(SystemCalls const& system) {
    Calls steps;
    for (std::string const& call : system.Log())
        for (char const* const kind : {"open", "setfd", "fsync", "close", "unlink", "rename"})
            if (call.starts_with(kind))
                steps.push_back(call);
    return steps;
}

std::string const renameRequest = std::string("rename ") + requestTemporary + ' ' + requestFile;
std::string const renameResponse = std::string("rename ") + responseTemporary + ' ' + responseFile;

void WriteRequest() { ClientComplianceRequestIOWrite(CreateComplianceRequestProgress()); }

void WriteResponse() {
    ClientComplianceResponseIOWrite(ClientComplianceResponse(ClientComplianceOpen));
}

void ExpectFailedRequest(SystemCalls& system) {
    EXPECT_THROW(WriteRequest(), ClientComplianceRequestIOWriteFailure);
    // Nothing that was opened is still open.
    EXPECT_EQ(system.Count("open"), system.Count("close"));
}

// The whole of a Progress request, as its own tests have it.
std::string ProgressRequest() {
    WriteRequest();
    std::string const bytes = Read(requestFile);
    ClientComplianceRequestIORelease();
    return bytes;
}

SANDBOX_TEST(ExchangeDocumentTest, IsOnDiskAndClosedBeforeItGetsItsName) {
    SystemCalls system;
    WriteRequest();
    EXPECT_EQ((Calls{"open RDWR|CREAT|TRUNC 666", "setfd 1", "fsync", "close", renameRequest}),
              Steps(system));
    system.Clear();
    WriteResponse();
    EXPECT_EQ((Calls{"open RDWR|CREAT|TRUNC 666", "setfd 1", "fsync", "close", renameResponse}),
              Steps(system));
}

// So there is a moment without any request, between the two calls.
SANDBOX_TEST(ExchangeDocumentTest, WhatStandsUnderTheNameIsRemovedBeforeTheRename) {
    WriteRequest();
    SystemCalls system;
    WriteRequest();
    EXPECT_EQ((Calls{"open RDWR|CREAT|TRUNC 666", "setfd 1", "fsync", "close",
                     std::string("unlink ") + requestFile, renameRequest}),
              Steps(system));
}

SANDBOX_TEST(ExchangeDocumentTest, MoveThatFailsOnceIsTriedAgainAndSucceeds) {
    Write(requestFile, "old");
    SystemCalls system;
    system.Fail("unlink", EBUSY);
    WriteRequest();
    EXPECT_EQ(2U, system.Count("unlink"));
    EXPECT_EQ(1U, system.Count("open"));
    EXPECT_FALSE(Exists(requestTemporary));
}

// Deliberate: after a failure, too, what has been written is published.
SANDBOX_TEST(ExchangeDocumentTest, FailureOfAnyWritePublishesWhatIsThere) {
    std::string const whole = ProgressRequest();
    std::size_t failures = 0;
    for (bool failed = true; failed; ++failures) {
        SystemCalls system;
        system.Fail("write", ENOSPC, failures);
        try {
            WriteRequest();
            failed = false;
        } catch (ClientComplianceRequestIOWriteFailure const&) {
            std::string const part = Read(requestFile);
            EXPECT_EQ(whole.substr(0, part.size()), part) << failures;
            EXPECT_LT(part.size(), whole.size()) << failures;
            EXPECT_EQ(0U, system.Count("fsync")) << failures;
            EXPECT_EQ(system.Count("open"), system.Count("close")) << failures;
        }
        EXPECT_TRUE(Exists(requestFile)) << failures;
        EXPECT_FALSE(Exists(requestTemporary)) << failures;
    }
    EXPECT_LT(1U, failures);
    EXPECT_EQ(whole, Read(requestFile));
}

SANDBOX_TEST(ExchangeDocumentTest, FailedFlushOrCloseIsAFailureThoughTheDocumentIsWhole) {
    std::string const whole = ProgressRequest();
    for (char const* const call : {"fsync", "close"}) {
        SystemCalls system;
        system.Fail(call, EIO);
        ExpectFailedRequest(system);
        EXPECT_EQ(whole, Read(requestFile)) << call;
        EXPECT_FALSE(Exists(requestTemporary)) << call;
    }
}

SANDBOX_TEST(ExchangeDocumentTest, ResponseFailsInTheSameWay) {
    SystemCalls system;
    system.Fail("fsync", EIO);
    EXPECT_THROW(WriteResponse(), ClientComplianceResponseIOWriteFailure);
    EXPECT_TRUE(Exists(responseFile));
    EXPECT_FALSE(Exists(responseTemporary));
    std::filesystem::remove(responseFile);
    std::filesystem::create_directories(std::string(responseFile) + "/inside");
    EXPECT_THROW(WriteResponse(), ClientComplianceResponseIOWriteFailure);
    EXPECT_FALSE(Exists(responseTemporary));
    std::filesystem::create_directories(std::string(responseTemporary) + "/inside");
    EXPECT_THROW(WriteResponse(), FileIOError);
}

// A failed open is followed by the move alone: there is no second attempt to write.
SANDBOX_TEST(ExchangeDocumentTest, IsOpenedOnceWhateverComesOfIt) {
    Write(requestTemporary, "of somebody else");
    SystemCalls system;
    system.Fail("open", EACCES);
    EXPECT_THROW(WriteRequest(), ClientComplianceRequestIOWriteFailure);
    EXPECT_EQ(1U, system.Count("open"));
    EXPECT_EQ("of somebody else", Read(requestFile));
}

SANDBOX_TEST(ExchangeDocumentTest, RequestThatIsNotThereIsNotOpened) {
    SystemCalls system;
    ClientComplianceRequest request = CreateComplianceRequestClose();
    EXPECT_FALSE(ClientComplianceRequestIORead(request));
    EXPECT_EQ(0U, system.Count("open"));
}

// A response that is one byte longer than two chunks.
SANDBOX_TEST(ExchangeDocumentTest, IsReadInChunks) {
    std::string const head = "<VeskaClientComplianceResponse><ResponseType>Open</ResponseType>";
    std::string const tail = "</VeskaClientComplianceResponse>";
    constexpr std::size_t chunk = 65568;
    Write(responseFile, head + std::string(2 * chunk + 1 - head.size() - tail.size(), ' ') + tail);
    SystemCalls system;
    EXPECT_EQ(ClientComplianceOpen, ClientComplianceResponseIORead().type);
    EXPECT_EQ((Calls{"open RDONLY", "setfd 1", "close"}), Steps(system));
    Calls reads;
    for (std::string const& call : system.Log())
        if (call.starts_with("read"))
            reads.push_back(call);
    EXPECT_EQ((Calls{"read 65568", "read 65568", "read 1"}), reads);
}

SANDBOX_TEST(ExchangeDocumentTest, FileThatShrinksWhileItIsReadIsNoDocument) {
    WriteRequest();
    WriteResponse();
    SystemCalls system;
    system.Before("read", [] { std::filesystem::resize_file(requestFile, 0); });
    ClientComplianceRequest request = CreateComplianceRequestOpen("old", "", 0);
    EXPECT_FALSE(ClientComplianceRequestIORead(request));
    EXPECT_EQ("old", request.url);
    system.Before("read", [] { std::filesystem::resize_file(responseFile, 0); });
    EXPECT_THROW(ClientComplianceResponseIORead(), DebuggableException);
}

SANDBOX_TEST(ExchangeDocumentTest, FailureWhileReadingIsNoDocumentAndNothingStaysOpen) {
    WriteRequest();
    WriteResponse();
    for (char const* const call : {"open", "seek", "read", "close"}) {
        SystemCalls system;
        system.Fail(call, EIO);
        ClientComplianceRequest request = CreateComplianceRequestOpen("old", "", 0);
        EXPECT_FALSE(ClientComplianceRequestIORead(request)) << call;
        EXPECT_EQ("old", request.url) << call;
        system.Fail(call, EIO);
        EXPECT_THROW(ClientComplianceResponseIORead(), FileIOError) << call;
        std::size_t const failedOpens = std::string(call) == "open" ? 2 : 0;
        EXPECT_EQ(system.Count("open") - failedOpens, system.Count("close")) << call;
    }
}

TEST(ExchangeDocumentTest, TypesAndTheirTextsBelongTogether) {
    for (ClientComplianceType const known :
         {ClientComplianceOpen, ClientComplianceClose, ClientComplianceProgress}) {
        ClientComplianceType type = ClientComplianceType{77};
        EXPECT_TRUE(ParseType(TypeText(known), type));
        EXPECT_EQ(known, type);
    }
    EXPECT_STREQ("", TypeText(static_cast<ClientComplianceType>(3)));
    EXPECT_STREQ("", TypeText(static_cast<ClientComplianceType>(-1)));
    for (std::string const text : {"", "open", " Open", "Open ", "OpenClose"}) {
        ClientComplianceType type = ClientComplianceClose;
        EXPECT_FALSE(ParseType(text, type)) << text;
        EXPECT_EQ(ClientComplianceClose, type) << text;
    }
}

} // namespace
