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
    EXPECT_EQ(OpenResponse(), WrittenBytes(ClientComplianceResponse(ClientComplianceOpen)));
    RowTexts const row{"1", "2", "3", "4", "5", "6"};
    EXPECT_EQ(Response("\t<ResponseType>Close</ResponseType>\r\n" + Row(row)),
              WrittenBytes(MakeResponse({ClientComplianceClose, 1, 1, 1, {row}})));
    EXPECT_EQ(ResponseOfType(""),
              WrittenBytes(ClientComplianceResponse(static_cast<ClientComplianceType>(-1))));
}

SANDBOX_TEST(ResponseDocumentTest, RandomResponsesAreReadBackUnchanged) {
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

SANDBOX_TEST(ResponseDocumentTest, ReaderAcceptsMoreThanTheWriterProduces) {
    auto const state = [](string const& text) {
        return Element("ResponseProgressState", text);
    };
    auto const open = [](int stateOfResponse, std::vector<RowTexts> const& rows = {}) {
        return ResponseFields(ClientComplianceOpen, stateOfResponse, 0, 0, rows);
    };
    struct {
        char const* rule;
        string children;
        ResponseFields expected;
    } const cases[] = {
        {"the type alone", "", open(2)},
        {"number before other text", state("3abc"), open(3)},
        {"no number", state("abc"), open(0)},
        {"empty number", state(""), open(0)},
        {"negative number after whitespace", state(" \t-7"), open(-7)},
        {"decimal digits only", state("0x10"), open(0)},
        {"progress elements of any type",
         state("+1") + Element("ResponseProgressError", "-5") +
             Element("ResponseProgressPercent", "77") + Element("ResponseType", "Close"),
         {ClientComplianceClose, 1, -5, 77, {}}},
        {"the last usable one of repeated children",
         "<ResponseType>Close</ResponseType><ResponseType>open</ResponseType>"
         "<ResponseType></ResponseType>" +
             state("1") + state("3"),
         {ClientComplianceClose, 3, 0, 0, {}}},
        {"rows with anything between them",
         "<ResponseItem><Designator>1</Designator></ResponseItem>text"
         "<Other><ResponseItem></ResponseItem></Other><!-- comment -->"
         "<ResponseItem><Designator>2</Designator></ResponseItem>",
         open(2, {{"1"}, {"2"}})},
        {"rows without some of their texts",
         "<ResponseItem></ResponseItem><ResponseItem><Comment>c</Comment></ResponseItem>",
         open(2, {{}, {"", "", "", "", "", "c"}})},
        {"texts of a row in any order, the last of repeated ones",
         "<ResponseItem><Comment>6</Comment><Description>5</Description>"
         "<EvaluationTime>4</EvaluationTime><Other>x</Other><ResultType>3</ResultType>"
         "<Result>old</Result><Result>2</Result><designator>no</designator>"
         "<Designator>1</Designator></ResponseItem>",
         open(2, {{"1", "2", "3", "4", "5", "6"}})},
        {"escapes and line breaks",
         "<ResponseItem><Designator>a&#xe9;&amp;&lt;\r\nb\nc</Designator></ResponseItem>",
         open(2, {{"a\xE9&<\r\nb\nc"}})},
    };
    for (auto const& [rule, children, expected] : cases)
        EXPECT_EQ(expected, FieldsOf(ReadFrom(BareOpenResponse(children)))) << rule;
}

SANDBOX_TEST(ResponseDocumentTest, NoProperPrefixOfAResponseCanBeRead) {
    string const whole = WrittenBytes(oneRow);
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_THROW(ReadFrom(whole.substr(0, length)), ClientComplianceResponseReadFailure)
            << length;
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
