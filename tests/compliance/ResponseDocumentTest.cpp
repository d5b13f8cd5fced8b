#include "compliance/ResponseDocument.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "files/FileErrors.h"
#include "tests/compliance/ExchangeFiles.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/SmallFileSystem.h"

namespace {

using namespace ExchangeFiles;

std::string WrittenBytes(ClientComplianceResponse const& response) {
    ClientComplianceResponseIOWrite(response);
    return Read(responseFile);
}

std::string Document(std::string const& children) {
    return "<VeskaClientComplianceResponse>" + children + "</VeskaClientComplianceResponse>";
}

ClientComplianceResponse ReadFrom(std::string const& document) {
    Write(responseFile, document);
    return ClientComplianceResponseIORead();
}

void ExpectEqualRows(ClientComplianceResponseItem const& expected,
                     ClientComplianceResponseItem const& row) {
    EXPECT_EQ(expected.designator, row.designator);
    EXPECT_EQ(expected.result, row.result);
    EXPECT_EQ(expected.resultType, row.resultType);
    EXPECT_EQ(expected.evaluationTime, row.evaluationTime);
    EXPECT_EQ(expected.description, row.description);
    EXPECT_EQ(expected.comment, row.comment);
}

SANDBOX_TEST(ResponseDocumentTest, ProgressWithOneRowHasFifteenLines) {
    ClientComplianceResponse response(ClientComplianceProgress);
    response.state = 3;
    response.error = -22;
    response.percent = 40;
    response.Add("a<b", "c>d", "e&f", "123", "caf\xE9", "");
    EXPECT_EQ("<?xml version=\"1.0\"?>\r\n"
              "<VeskaClientComplianceResponse Version=\"1.0\">\r\n"
              "\t<ResponseType>Progress</ResponseType>\r\n"
              "\t<ResponseProgressState>3</ResponseProgressState>\r\n"
              "\t<ResponseProgressError>-22</ResponseProgressError>\r\n"
              "\t<ResponseProgressPercent>40</ResponseProgressPercent>\r\n"
              "\t<ResponseItem>\r\n"
              "\t\t<Designator>a&lt;b</Designator>\r\n"
              "\t\t<Result>c&gt;d</Result>\r\n"
              "\t\t<ResultType>e&amp;f</ResultType>\r\n"
              "\t\t<EvaluationTime>123</EvaluationTime>\r\n"
              "\t\t<Description>caf&#xe9;</Description>\r\n"
              "\t\t<Comment></Comment>\r\n"
              "\t</ResponseItem>\r\n"
              "</VeskaClientComplianceResponse>",
              WrittenBytes(response));
}

SANDBOX_TEST(ResponseDocumentTest, OpenAndCloseResponsesHaveNoProgressButMayHaveRows) {
    EXPECT_EQ("<?xml version=\"1.0\"?>\r\n"
              "<VeskaClientComplianceResponse Version=\"1.0\">\r\n"
              "\t<ResponseType>Open</ResponseType>\r\n"
              "</VeskaClientComplianceResponse>",
              WrittenBytes(ClientComplianceResponse(ClientComplianceOpen)));
    ClientComplianceResponse response(ClientComplianceClose);
    response.Add("1", "2", "3", "4", "5", "6");
    EXPECT_EQ("<?xml version=\"1.0\"?>\r\n"
              "<VeskaClientComplianceResponse Version=\"1.0\">\r\n"
              "\t<ResponseType>Close</ResponseType>\r\n"
              "\t<ResponseItem>\r\n"
              "\t\t<Designator>1</Designator>\r\n"
              "\t\t<Result>2</Result>\r\n"
              "\t\t<ResultType>3</ResultType>\r\n"
              "\t\t<EvaluationTime>4</EvaluationTime>\r\n"
              "\t\t<Description>5</Description>\r\n"
              "\t\t<Comment>6</Comment>\r\n"
              "\t</ResponseItem>\r\n"
              "</VeskaClientComplianceResponse>",
              WrittenBytes(response));
}

SANDBOX_TEST(ResponseDocumentTest, UnknownTypeIsWrittenAsNothing) {
    EXPECT_EQ("<?xml version=\"1.0\"?>\r\n"
              "<VeskaClientComplianceResponse Version=\"1.0\">\r\n"
              "\t<ResponseType></ResponseType>\r\n"
              "</VeskaClientComplianceResponse>",
              WrittenBytes(ClientComplianceResponse(static_cast<ClientComplianceType>(-1))));
}

SANDBOX_TEST(ResponseDocumentTest, WrittenResponseIsReadBackByteForByte) {
    constexpr unsigned int seed = 24;
    std::mt19937 random(seed);
    for (int round = 0; round < 200; ++round) {
        ClientComplianceResponse sent(
            static_cast<ClientComplianceType>(static_cast<int>(random() % 3)));
        if (sent.type == ClientComplianceProgress) {
            sent.state = static_cast<int>(random());
            sent.error = static_cast<int>(random());
            sent.percent = static_cast<int>(random());
        }
        for (unsigned long rows = random() % 6; rows > 0; --rows) {
            std::string texts[6];
            for (std::string& text : texts)
                text = random() % 50 == 0 ? LongText(random) : RandomText(random, 40);
            sent.Add(texts[0].c_str(), texts[1].c_str(), texts[2].c_str(), texts[3].c_str(),
                     texts[4].c_str(), texts[5].c_str());
        }
        ClientComplianceResponseIOWrite(sent);
        ClientComplianceResponse const got = ClientComplianceResponseIORead();
        ASSERT_EQ(sent.type, got.type) << "seed " << seed;
        ASSERT_EQ(sent.state, got.state) << "seed " << seed;
        ASSERT_EQ(sent.error, got.error) << "seed " << seed;
        ASSERT_EQ(sent.percent, got.percent) << "seed " << seed;
        ASSERT_EQ(sent.GetComplianceCount(), got.GetComplianceCount()) << "seed " << seed;
        for (unsigned int row = 0; row < sent.GetComplianceCount(); ++row)
            ExpectEqualRows(sent[row], got[row]);
    }
}

SANDBOX_TEST(ResponseDocumentTest, TextsEndAtTheirFirstZeroByte) {
    ClientComplianceResponse sent(ClientComplianceOpen);
    sent.Add("", "", "", "", "", "");
    sent.items[0].comment = std::string("ab\0cd", 5);
    ClientComplianceResponseIOWrite(sent);
    EXPECT_EQ("ab", ClientComplianceResponseIORead()[0].comment);
}

SANDBOX_TEST(ResponseDocumentTest, BareTypeReadsWithTheDefaults) {
    ClientComplianceResponse const response =
        ReadFrom("<?xml version=\"1.0\"?>\r\n<VeskaClientComplianceResponse Version=\"1.0\">\r\n"
                 "\t<ResponseType>Progress</ResponseType>\r\n</VeskaClientComplianceResponse>");
    EXPECT_EQ(ClientComplianceProgress, response.type);
    EXPECT_EQ(2, response.state);
    EXPECT_EQ(0, response.error);
    EXPECT_EQ(0, response.percent);
    EXPECT_EQ(0U, response.GetComplianceCount());
}

SANDBOX_TEST(ResponseDocumentTest, ProgressElementsCountUnderAnyType) {
    ClientComplianceResponse const response =
        ReadFrom(Document("<ResponseProgressState>1</ResponseProgressState>"
                          "<ResponseProgressError>-5</ResponseProgressError>"
                          "<ResponseProgressPercent>77</ResponseProgressPercent>"
                          "<ResponseType>Close</ResponseType>"));
    EXPECT_EQ(ClientComplianceClose, response.type);
    EXPECT_EQ(1, response.state);
    EXPECT_EQ(-5, response.error);
    EXPECT_EQ(77, response.percent);
}

SANDBOX_TEST(ResponseDocumentTest, LastUsableOneOfRepeatedChildrenCounts) {
    ClientComplianceResponse const response =
        ReadFrom(Document("<ResponseType>Open</ResponseType><ResponseType>Close</ResponseType>"
                          "<ResponseType>open</ResponseType><ResponseType></ResponseType>"
                          "<ResponseProgressState>1</ResponseProgressState>"
                          "<ResponseProgressState>3</ResponseProgressState>"));
    EXPECT_EQ(ClientComplianceClose, response.type);
    EXPECT_EQ(3, response.state);
}

TEST(ResponseDocumentTest, NumbersAreReadAsFarAsTheyGo) {
    struct Case {
        char const* text;
        int value;
    };
    Case const cases[] = {{"3abc", 3}, {"abc", 0}, {"", 0}, {" \t-7", -7}, {"+4", 4}, {"0x10", 0}};
    OnMachine([&] {
        for (Case const& one : cases) {
            EXPECT_EQ(one.value,
                      ReadFrom(Document("<ResponseType>Open</ResponseType>"
                                        "<ResponseProgressState>" +
                                        std::string(one.text) + "</ResponseProgressState>"))
                          .state)
                << one.text;
        }
    });
}

SANDBOX_TEST(ResponseDocumentTest, RowsComeInOrderWhateverStandsBetweenThem) {
    ClientComplianceResponse const response =
        ReadFrom(Document("<ResponseItem><Designator>1</Designator></ResponseItem>text"
                          "<Other><ResponseItem></ResponseItem></Other><!-- comment -->"
                          "<ResponseType>Open</ResponseType>"
                          "<ResponseItem><Designator>2</Designator></ResponseItem>"));
    ASSERT_EQ(2U, response.GetComplianceCount());
    EXPECT_EQ("1", response[0].designator);
    EXPECT_EQ("2", response[1].designator);
}

SANDBOX_TEST(ResponseDocumentTest, RowWithMissingChildrenIsKeptWithEmptyTexts) {
    ClientComplianceResponse const response =
        ReadFrom(Document("<ResponseType>Open</ResponseType><ResponseItem></ResponseItem>"
                          "<ResponseItem><Comment>c</Comment></ResponseItem>"));
    ASSERT_EQ(2U, response.GetComplianceCount());
    ExpectEqualRows({"", "", "", "", "", ""}, response[0]);
    ExpectEqualRows({"", "", "", "", "", "c"}, response[1]);
}

SANDBOX_TEST(ResponseDocumentTest, LastOfRepeatedTextsInARowCountsInAnyOrder) {
    ClientComplianceResponse const response = ReadFrom(
        Document("<ResponseType>Open</ResponseType><ResponseItem><Comment>6</Comment>"
                 "<Description>5</Description><EvaluationTime>4</EvaluationTime><Other>x</Other>"
                 "<ResultType>3</ResultType><Result>old</Result><Result>2</Result>"
                 "<designator>no</designator><Designator>1</Designator></ResponseItem>"));
    ASSERT_EQ(1U, response.GetComplianceCount());
    ExpectEqualRows({"1", "2", "3", "4", "5", "6"}, response[0]);
}

SANDBOX_TEST(ResponseDocumentTest, EscapesAndLineBreaksComeBackAsTheyWere) {
    ClientComplianceResponse const response =
        ReadFrom(Document("<ResponseType>Open</ResponseType><ResponseItem>"
                          "<Comment>a&#xe9;&amp;&lt;\r\nb\nc</Comment></ResponseItem>"));
    EXPECT_EQ("a\xE9&<\r\nb\nc", response[0].comment);
}

SANDBOX_TEST(ResponseDocumentTest, EachFailureHasItsOwnClass) {
    EXPECT_THROW(ClientComplianceResponseIORead(), FileNotFoundError);
    for (std::string const document :
         {"", "no element", "<!-- comment -->", "<VeskaClientComplianceResponse><ResponseType>",
          "<VeskaClientComplianceResponse>", "<Other>"})
        EXPECT_THROW(ReadFrom(document), ClientComplianceResponseReadFailure) << document;
    for (std::string const document :
         {"<Other></Other>", "<veskaclientcomplianceresponse></veskaclientcomplianceresponse>",
          "<VeskaClientComplianceRequest></VeskaClientComplianceRequest>"})
        EXPECT_THROW(ReadFrom(document), ClientComplianceResponseBadDocumentType) << document;
    for (std::string const children :
         {"", "text", "<ResponseItem></ResponseItem>", "<ResponseType>open</ResponseType>",
          "<ResponseType></ResponseType>", "<ResponseType> Open</ResponseType>",
          "<Other><ResponseType>Open</ResponseType></Other>"})
        EXPECT_THROW(ReadFrom(Document(children)), ClientComplianceResponseTypeFailure) << children;
}

SANDBOX_TEST(ResponseDocumentTest, BrokenLinkIsNotFound) {
    ASSERT_EQ(0, symlink("nowhere", responseFile));
    EXPECT_THROW(ClientComplianceResponseIORead(), FileNotFoundError);
}

// Which error it is depends on what the file system makes of a seek in a directory.
SANDBOX_TEST(ResponseDocumentTest, DirectoryCanNotBeRead) {
    mkdir(responseFile, 0755);
    EXPECT_THROW(ClientComplianceResponseIORead(), DebuggableException);
}

SANDBOX_TEST(ResponseDocumentTest, NothingStaysOpenAfterAFailure) {
    auto const openDescriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    auto const before = openDescriptors();
    EXPECT_THROW(ReadFrom("<Other></Other>"), ClientComplianceResponseBadDocumentType);
    EXPECT_THROW(ReadFrom("<Other>"), ClientComplianceResponseReadFailure);
    EXPECT_THROW(ReadFrom(Document("")), ClientComplianceResponseTypeFailure);
    ReadFrom(Document("<ResponseType>Open</ResponseType>"));
    EXPECT_EQ(before, openDescriptors());
}

// What the tool meets on its way from one exchange to the next.
SANDBOX_TEST(ResponseDocumentTest, EveryPrefixOfAResponseIsReadOrRefused) {
    ClientComplianceResponse response(ClientComplianceProgress);
    response.state = 1;
    response.Add("a&b", "c", "d", "e", "f\xE9", "g");
    std::string const whole = WrittenBytes(response);
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_THROW(ReadFrom(whole.substr(0, length)), ClientComplianceResponseReadFailure)
            << length;
    EXPECT_EQ(1U, ReadFrom(whole).GetComplianceCount());
}

SANDBOX_TEST(ResponseDocumentTest, DocumentIsPublishedByRenameOverAnOldOne) {
    Write(responseFile, "old");
    Write(responseTemporary, std::string(5000, 'x'));
    struct stat before;
    ASSERT_EQ(0, stat(responseFile, &before));
    ClientComplianceResponseIOWrite(ClientComplianceResponse(ClientComplianceOpen));
    struct stat after;
    ASSERT_EQ(0, stat(responseFile, &after));
    EXPECT_NE(before.st_ino, after.st_ino);
    EXPECT_FALSE(Exists(responseTemporary));
}

TEST(ResponseDocumentTest, MissingDirectoryFailsTheWrite) {
    PrivateMachine::Run([] {
        EXPECT_THROW(
            ClientComplianceResponseIOWrite(ClientComplianceResponse(ClientComplianceOpen)),
            ClientComplianceResponseIOWriteFailure);
    });
}

TEST(ResponseDocumentTest, FullDiskPublishesWhatCouldBeWritten) {
    PrivateMachine::Run([] {
        std::filesystem::create_directories(responseDirectory);
        SmallFileSystem disk(responseDirectory, {.bytes = 8 * 4096});
        disk.FillUp();
        EXPECT_THROW(
            ClientComplianceResponseIOWrite(ClientComplianceResponse(ClientComplianceOpen)),
            ClientComplianceResponseIOWriteFailure);
        EXPECT_TRUE(Exists(responseFile));
        EXPECT_FALSE(Exists(responseTemporary));
    });
}

SANDBOX_TEST(ResponseDocumentTest, ReleaseRemovesTheDocumentAndAbsenceIsNoError) {
    Write(responseFile, "x");
    ClientComplianceResponseIORelease();
    EXPECT_FALSE(Exists(responseFile));
    ClientComplianceResponseIORelease();
}

} // namespace
