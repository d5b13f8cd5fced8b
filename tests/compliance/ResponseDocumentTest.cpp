// Tests the contents of a response, and its reader. ExchangeDocumentTest tests the other functions.
#include "compliance/ResponseDocument.h"

#include "files/FileErrors.h"
#include "tests/compliance/ExchangeFiles.h"
#include "tests/compliance/Records.h"
#include "tests/files/Entries.h"
#include "tests/support/OpenDescriptors.h"
#include "tests/system/Documents.h"

namespace {

using namespace ExchangeFiles;
using std::string;

string WrittenBytes(ClientComplianceResponse const& response) {
    ClientComplianceResponseIOWrite(response);
    return ReadWholeFile(responseFile);
}

// A document with a root that has only these children.
string BareResponse(string const& children) {
    return Element("VeskaClientComplianceResponse", children);
}

string BareOpenResponse(string const& children) {
    return BareResponse(Element("ResponseType", "Open") + children);
}

ClientComplianceResponse ReadFrom(string const& document) {
    WriteWholeFile(responseFile, document);
    return ClientComplianceResponseIORead();
}

ClientComplianceResponse const oneRow = MakeResponse(
    {ClientComplianceProgress, 3, -22, 40, {{"a<b", "c>d", "e&f", "123", "caf\xE9", ""}}});

SANDBOX_TEST(ResponseDocumentTest, OnlyProgressResponsesHaveProgressElements) {
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
              WrittenBytes(oneRow));
    EXPECT_EQ(OpenAnswer(), WrittenBytes(ClientComplianceResponse(ClientComplianceOpen)));
    RowTexts const row{"1", "2", "3", "4", "5", "6"};
    EXPECT_EQ(Response("\t<ResponseType>Close</ResponseType>\r\n" + Row(row)),
              WrittenBytes(MakeResponse({ClientComplianceClose, 1, 1, 1, {row}})));
    EXPECT_EQ(AnswerOfType(""),
              WrittenBytes(ClientComplianceResponse(static_cast<ClientComplianceType>(-1))));
}

SANDBOX_TEST(ResponseDocumentTest, WrittenResponseIsReadBackByteForByte) {
    constexpr unsigned int seed = 24;
    std::mt19937 random(seed);
    for (int round = 0; round < 200; ++round) {
        ResponseFields sent =
            EmptyResponse(static_cast<ClientComplianceType>(static_cast<int>(random() % 3)));
        auto& [type, state, error, percent, rows] = sent;
        if (type == ClientComplianceProgress)
            for (int* const number : {&state, &error, &percent})
                *number = static_cast<int>(random());
        rows.resize(random() % 6);
        for (RowTexts& row : rows)
            for (string& text : row)
                text = random() % 50 == 0 ? LongText(random) : RandomText(random, 40);
        ClientComplianceResponseIOWrite(MakeResponse(sent));
        ASSERT_EQ(sent, FieldsOf(ClientComplianceResponseIORead())) << "seed " << seed;
    }
}

SANDBOX_TEST(ResponseDocumentTest, TextEndsAtItsFirstNul) {
    ClientComplianceResponse sent(ClientComplianceOpen);
    sent.Add("", "", "", "", "", "");
    sent.items[0].comment = string("ab\0cd", 5);
    ClientComplianceResponseIOWrite(sent);
    EXPECT_EQ("ab", ClientComplianceResponseIORead()[0].comment);
}

SANDBOX_TEST(ResponseDocumentTest, EachFailureHasItsOwnClassAndClosesTheFile) {
    long const open = CountOpenDescriptors();
    EXPECT_THROW(ClientComplianceResponseIORead(), FileNotFoundError);
    for (string const document :
         {"", "no element", "<!-- comment -->", "<VeskaClientComplianceResponse><ResponseType>",
          "<VeskaClientComplianceResponse>", "<Other>"})
        EXPECT_THROW(ReadFrom(document), ClientComplianceResponseReadFailure) << document;
    for (string const document :
         {"<Other></Other>", "<veskaclientcomplianceresponse></veskaclientcomplianceresponse>",
          "<VeskaClientComplianceRequest></VeskaClientComplianceRequest>"})
        EXPECT_THROW(ReadFrom(document), ClientComplianceResponseBadDocumentType) << document;
    for (string const children :
         {"", "text", "<ResponseItem></ResponseItem>", "<ResponseType>open</ResponseType>",
          "<ResponseType></ResponseType>", "<ResponseType> Open</ResponseType>",
          "<Other><ResponseType>Open</ResponseType></Other>"})
        EXPECT_THROW(ReadFrom(BareResponse(children)), ClientComplianceResponseTypeFailure)
            << children;
    ReadFrom(BareOpenResponse(""));
    EXPECT_EQ(open, CountOpenDescriptors());
}

// The error of a directory depends on its file system.
SANDBOX_TEST(ResponseDocumentTest, EntryThatIsNotAFileCannotBeRead) {
    MakeEntry(responseFile, "dangling link");
    EXPECT_THROW(ClientComplianceResponseIORead(), FileNotFoundError);
    std::filesystem::remove(responseFile);
    MakeEntry(responseFile, "directory");
    EXPECT_THROW(ClientComplianceResponseIORead(), DebuggableException);
}

} // namespace
