#include "compliance/RequestDocument.h"

#include <chrono>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "compliance/ClientCompliance.h"
#include "files/FileErrors.h"
#include "tests/compliance/ExchangeFiles.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/SmallFileSystem.h"

namespace {

using namespace ExchangeFiles;

std::string WrittenBytes(ClientComplianceRequest const& request) {
    ClientComplianceRequestIOWrite(request);
    return Read(requestFile);
}

// A document around the given children, with nothing else in it.
std::string Document(std::string const& children) {
    return "<VeskaClientComplianceRequest>" + children + "</VeskaClientComplianceRequest>";
}

std::chrono::milliseconds TimeOf(void (*body)()) {
    auto const start = std::chrono::steady_clock::now();
    body();
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start);
}

SANDBOX_TEST(RequestDocumentTest, OpenRequestHasSevenLines) {
    EXPECT_EQ("<?xml version=\"1.0\"?>\r\n"
              "<VeskaClientComplianceRequest Version=\"1.0\">\r\n"
              "\t<RequestType>Open</RequestType>\r\n"
              "\t<RequestURL>http://example.com:52311/a?b&amp;c</RequestURL>\r\n"
              "\t<RequestDOC>caf&#xe9; &lt;1&gt;.xml</RequestDOC>\r\n"
              "\t<RequestFlags>15</RequestFlags>\r\n"
              "</VeskaClientComplianceRequest>",
              WrittenBytes(CreateComplianceRequestOpen("http://example.com:52311/a?b&c",
                                                       "caf\xE9 <1>.xml", 15)));
}

SANDBOX_TEST(RequestDocumentTest, EmptyTextsGiveTheTwoTagsAndZeroOneDigit) {
    EXPECT_EQ("<?xml version=\"1.0\"?>\r\n"
              "<VeskaClientComplianceRequest Version=\"1.0\">\r\n"
              "\t<RequestType>Open</RequestType>\r\n"
              "\t<RequestURL></RequestURL>\r\n"
              "\t<RequestDOC></RequestDOC>\r\n"
              "\t<RequestFlags>0</RequestFlags>\r\n"
              "</VeskaClientComplianceRequest>",
              WrittenBytes(CreateComplianceRequestOpen(nullptr, nullptr, 0)));
}

SANDBOX_TEST(RequestDocumentTest, FlagsAreUnsigned) {
    EXPECT_NE(std::string::npos, WrittenBytes(CreateComplianceRequestOpen("", "", 0xFFFFFFFFU))
                                     .find("<RequestFlags>4294967295</RequestFlags>"));
}

SANDBOX_TEST(RequestDocumentTest, ProgressAndCloseRequestsHaveFourLinesAndNoLastLineEnd) {
    EXPECT_EQ("<?xml version=\"1.0\"?>\r\n"
              "<VeskaClientComplianceRequest Version=\"1.0\">\r\n"
              "\t<RequestType>Progress</RequestType>\r\n"
              "</VeskaClientComplianceRequest>",
              WrittenBytes(CreateComplianceRequestProgress()));
    EXPECT_EQ("<?xml version=\"1.0\"?>\r\n"
              "<VeskaClientComplianceRequest Version=\"1.0\">\r\n"
              "\t<RequestType>Close</RequestType>\r\n"
              "</VeskaClientComplianceRequest>",
              WrittenBytes(CreateComplianceRequestClose()));
}

SANDBOX_TEST(RequestDocumentTest, UnknownTypeWritesTheRootAloneOnOneLine) {
    ClientComplianceRequest request = CreateComplianceRequestOpen("u", "d", 1);
    request.type = static_cast<ClientComplianceType>(3);
    EXPECT_EQ("<?xml version=\"1.0\"?>\r\n"
              "<VeskaClientComplianceRequest Version=\"1.0\"></VeskaClientComplianceRequest>",
              WrittenBytes(request));
}

SANDBOX_TEST(RequestDocumentTest, EveryByteIsEscapedByItsRule) {
    for (int byte = 1; byte < 256; ++byte) {
        char const text[] = {static_cast<char>(byte), 0};
        char reference[8];
        std::snprintf(reference, sizeof reference, "&#x%02x;", static_cast<unsigned>(byte));
        std::string const expected = byte == '<'    ? "&lt;"
                                     : byte == '>'  ? "&gt;"
                                     : byte == '&'  ? "&amp;"
                                     : byte >= 0x80 ? reference
                                                    : text;
        EXPECT_NE(std::string::npos, WrittenBytes(CreateComplianceRequestOpen(text, "", 0))
                                         .find("<RequestURL>" + expected + "</RequestURL>"))
            << byte;
    }
}

SANDBOX_TEST(RequestDocumentTest, DocumentIsPublishedByRenameOverAnOldOne) {
    Write(requestFile, "old");
    struct stat before;
    ASSERT_EQ(0, stat(requestFile, &before));
    umask(022);
    ClientComplianceRequestIOWrite(CreateComplianceRequestProgress());
    struct stat after;
    ASSERT_EQ(0, stat(requestFile, &after));
    EXPECT_NE(before.st_ino, after.st_ino);
    EXPECT_EQ(0644U, after.st_mode & 07777U);
    EXPECT_FALSE(Exists(requestTemporary));
}

SANDBOX_TEST(RequestDocumentTest, OldTemporaryDocumentIsOverwrittenAndKeepsItsMode) {
    Write(requestTemporary, std::string(5000, 'x'));
    chmod(requestTemporary, 0600);
    ClientComplianceRequestIOWrite(CreateComplianceRequestClose());
    struct stat after;
    ASSERT_EQ(0, stat(requestFile, &after));
    EXPECT_EQ(0600U, after.st_mode & 07777U);
    EXPECT_EQ(std::string::npos, Read(requestFile).find('x', 10));
}

TEST(RequestDocumentTest, MissingDirectoryFailsAfterOneRoundOfAttempts) {
    PrivateMachine::Run([] {
        auto const time = TimeOf([] {
            EXPECT_THROW(ClientComplianceRequestIOWrite(CreateComplianceRequestProgress()),
                         ClientComplianceRequestIOWriteFailure);
        });
        EXPECT_GE(time.count(), 2032);
        EXPECT_LT(time.count(), 4000);
    });
}

TEST(RequestDocumentTest, FullDiskPublishesWhatCouldBeWritten) {
    PrivateMachine::Run([] {
        std::filesystem::create_directories(requestDirectory);
        SmallFileSystem disk(requestDirectory, {.bytes = 8 * 4096});
        disk.FillUp();
        EXPECT_THROW(ClientComplianceRequestIOWrite(CreateComplianceRequestProgress()),
                     ClientComplianceRequestIOWriteFailure);
        EXPECT_TRUE(Exists(requestFile));
        EXPECT_EQ("", Read(requestFile));
        EXPECT_FALSE(Exists(requestTemporary));
    });
}

SANDBOX_TEST(RequestDocumentTest, TemporaryDocumentIsRemovedWhereTheNameCanNotBeTaken) {
    std::filesystem::create_directories(std::string(requestFile) + "/inside");
    auto const time = TimeOf([] {
        EXPECT_THROW(ClientComplianceRequestIOWrite(CreateComplianceRequestProgress()),
                     ClientComplianceRequestIOWriteFailure);
    });
    EXPECT_GE(time.count(), 2 * 2032);
    EXPECT_FALSE(Exists(requestTemporary));
    EXPECT_TRUE(Exists(requestFile));
}

SANDBOX_TEST(RequestDocumentTest, WhatStandsInPlaceOfTheTemporaryDocumentIsPublishedInItsStead) {
    std::filesystem::create_directories(std::string(requestTemporary) + "/inside");
    EXPECT_THROW(ClientComplianceRequestIOWrite(CreateComplianceRequestProgress()),
                 ClientComplianceRequestIOWriteFailure);
    EXPECT_TRUE(std::filesystem::is_directory(std::string(requestFile) + "/inside"));
    EXPECT_FALSE(Exists(requestTemporary));
}

// A directory that is not empty in each place: neither can be moved, and the temporary one can't be
// removed either.
SANDBOX_TEST(RequestDocumentTest, FailureOfTheRemovalLeavesInPlaceOfTheFailureToWrite) {
    std::filesystem::create_directories(std::string(requestTemporary) + "/inside");
    std::filesystem::create_directories(std::string(requestFile) + "/inside");
    EXPECT_THROW(ClientComplianceRequestIOWrite(CreateComplianceRequestProgress()), FileIOError);
}

SANDBOX_TEST(RequestDocumentTest, AnyEntryUnderTheNameExists) {
    EXPECT_FALSE(ClientComplianceRequestExists());
    Write(requestFile, "");
    EXPECT_TRUE(ClientComplianceRequestExists());
    unlink(requestFile);
    mkdir(requestFile, 0755);
    EXPECT_TRUE(ClientComplianceRequestExists());
    rmdir(requestFile);
    ASSERT_EQ(0, symlink("nowhere", requestFile));
    EXPECT_TRUE(ClientComplianceRequestExists());
    unlink(requestFile);
    ASSERT_EQ(0, mkfifo(requestFile, 0600));
    EXPECT_TRUE(ClientComplianceRequestExists());
}

SANDBOX_TEST(RequestDocumentTest, EntryThatCanNotBeExaminedCountsAsAbsent) {
    Write(requestFile, "");
    chmod(requestDirectory, 0);
    PrivateMachine::DropPrivileges();
    EXPECT_FALSE(ClientComplianceRequestExists());
}

SANDBOX_TEST(RequestDocumentTest, WrittenRequestIsReadBackByteForByte) {
    constexpr unsigned int seed = 23;
    std::mt19937 random(seed);
    for (int round = 0; round < 300; ++round) {
        std::string const url = round % 10 == 0 ? LongText(random) : RandomText(random, 60);
        std::string const doc = RandomText(random, 60);
        unsigned int const flags = static_cast<unsigned int>(random());
        ClientComplianceRequestIOWrite(
            CreateComplianceRequestOpen(url.c_str(), doc.c_str(), flags));
        ClientComplianceRequest request = CreateComplianceRequestClose();
        ASSERT_TRUE(ClientComplianceRequestIORead(request)) << "seed " << seed;
        ASSERT_EQ(ClientComplianceOpen, request.type) << "seed " << seed;
        ASSERT_EQ(url, request.url) << "seed " << seed;
        ASSERT_EQ(doc, request.doc) << "seed " << seed;
        ASSERT_EQ(flags, request.flags) << "seed " << seed;
    }
}

SANDBOX_TEST(RequestDocumentTest, TextsEndAtTheirFirstZeroByte) {
    ClientComplianceRequest request = CreateComplianceRequestOpen("", "", 0);
    request.url = std::string("ab\0cd", 5);
    ClientComplianceRequestIOWrite(request);
    ASSERT_TRUE(ClientComplianceRequestIORead(request));
    EXPECT_EQ("ab", request.url);
}

SANDBOX_TEST(RequestDocumentTest, EachKindOfRequestIsReadAsItself) {
    for (ClientComplianceRequest const& sent :
         {CreateComplianceRequestClose(), CreateComplianceRequestProgress()}) {
        ClientComplianceRequestIOWrite(sent);
        ClientComplianceRequest request = CreateComplianceRequestOpen("u", "d", 9);
        ASSERT_TRUE(ClientComplianceRequestIORead(request));
        EXPECT_EQ(sent.type, request.type);
        EXPECT_EQ("", request.url);
        EXPECT_EQ(0U, request.flags);
    }
}

TEST(RequestDocumentTest, ReaderTakesMoreThanTheWriterProduces) {
    struct Case {
        char const* what;
        std::string document;
        ClientComplianceRequest expected;
    };
    Case const cases[] = {
        {"no children", Document(""), CreateComplianceRequestProgress()},
        {"lower-case type", Document("<RequestType>open</RequestType>"),
         CreateComplianceRequestProgress()},
        {"unknown type behind a known one",
         Document("<RequestType>Close</RequestType><RequestType>x</RequestType>"),
         CreateComplianceRequestClose()},
        {"any order, unknown children, the last of repeated ones",
         Document("<RequestFlags>1</RequestFlags><RequestDOC>d</RequestDOC><Other>o</Other>"
                  "<RequestURL>u1</RequestURL><RequestURL>u2</RequestURL>"
                  "<RequestType>Progress</RequestType><RequestType>Open</RequestType>"),
         CreateComplianceRequestOpen("u2", "d", 1)},
        {"texts count for Open only",
         Document("<RequestType>Close</RequestType><RequestURL>u</RequestURL>"
                  "<RequestDOC>d</RequestDOC><RequestFlags>3</RequestFlags>"),
         CreateComplianceRequestClose()},
        {"no declaration, bare line feeds, another version",
         "\n<VeskaClientComplianceRequest Version=\"9\">\n<RequestType>Open</RequestType>\n"
         "</VeskaClientComplianceRequest>\n",
         CreateComplianceRequestOpen("", "", 0)},
        {"flags that are no number",
         Document("<RequestType>Open</RequestType><RequestFlags>x</RequestFlags>"),
         CreateComplianceRequestOpen("", "", 0)},
        {"flags with something behind",
         Document("<RequestType>Open</RequestType><RequestFlags> 12x</RequestFlags>"),
         CreateComplianceRequestOpen("", "", 12)},
        {"negative flags",
         Document("<RequestType>Open</RequestType><RequestFlags>-1</RequestFlags>"),
         CreateComplianceRequestOpen("", "", 0xFFFFFFFFU)},
        {"flags cut to 32 bits",
         Document("<RequestType>Open</RequestType><RequestFlags>4294967301</RequestFlags>"),
         CreateComplianceRequestOpen("", "", 5)},
    };
    OnMachine([&] {
        for (Case const& one : cases) {
            Write(requestFile, one.document);
            ClientComplianceRequest request = CreateComplianceRequestOpen("old", "old", 77);
            EXPECT_TRUE(ClientComplianceRequestIORead(request)) << one.what;
            EXPECT_EQ(one.expected.type, request.type) << one.what;
            EXPECT_EQ(one.expected.url, request.url) << one.what;
            EXPECT_EQ(one.expected.doc, request.doc) << one.what;
            EXPECT_EQ(one.expected.flags, request.flags) << one.what;
        }
    });
}

SANDBOX_TEST(RequestDocumentTest, WhatIsNoRequestIsReadAsFalseAndStays) {
    for (std::string const& document :
         {std::string(), std::string("no element at all"),
          std::string("<VeskaClientComplianceRequest><RequestType>Open"),
          std::string("<VeskaClientComplianceRequest>"),
          std::string("<VeskaClientComplianceResponse></VeskaClientComplianceResponse>"),
          std::string("<veskaclientcompliancerequest></veskaclientcompliancerequest>")}) {
        Write(requestFile, document);
        ClientComplianceRequest request = CreateComplianceRequestOpen("old", "old", 77);
        EXPECT_FALSE(ClientComplianceRequestIORead(request)) << document;
        EXPECT_EQ("old", request.url) << document;
        EXPECT_EQ(document, Read(requestFile));
    }
}

SANDBOX_TEST(RequestDocumentTest, MissingOrUnreadableDocumentIsReadAsFalse) {
    ClientComplianceRequest request = CreateComplianceRequestClose();
    EXPECT_FALSE(ClientComplianceRequestIORead(request));
    mkdir(requestFile, 0755);
    EXPECT_FALSE(ClientComplianceRequestIORead(request));
    rmdir(requestFile);
    ASSERT_EQ(0, symlink("nowhere", requestFile));
    EXPECT_FALSE(ClientComplianceRequestIORead(request));
    EXPECT_EQ(ClientComplianceClose, request.type);
}

SANDBOX_TEST(RequestDocumentTest, ReleaseRemovesTheDocumentAndAbsenceIsNoError) {
    ClientComplianceRequestIOWrite(CreateComplianceRequestProgress());
    ClientComplianceRequestIORelease();
    EXPECT_FALSE(Exists(requestFile));
    ClientComplianceRequestIORelease();
}

SANDBOX_TEST(RequestDocumentTest, ReleaseOfWhatCanNotBeRemovedTellsIt) {
    std::filesystem::create_directories(std::string(requestFile) + "/inside");
    EXPECT_THROW(ClientComplianceRequestIORelease(), FileIOError);
}

TEST(RequestDocumentTest, WaitReturnsAtOnce) {
    EXPECT_TRUE(ClientComplianceRequestIOWait(0));
    EXPECT_TRUE(ClientComplianceRequestIOWait(4000000000U));
}

} // namespace
