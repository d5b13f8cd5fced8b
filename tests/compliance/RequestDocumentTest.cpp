// Tests the contents of a request, and its reader. ExchangeDocumentTest tests the other functions.
#include "compliance/RequestDocument.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/compliance/ExchangeFiles.h"
#include "tests/compliance/Records.h"
#include "tests/files/Entries.h"
#include "tests/support/Sandbox.h"
#include "tests/system/Documents.h"

namespace {

using namespace ExchangeFiles;
using std::string;

string WrittenBytes(ClientComplianceRequest const& request) {
    ClientComplianceRequestIOWrite(request);
    return ReadWholeFile(requestFile);
}

// A document with a root that has only these children.
string Request(string const& children) { return Element("VeskaClientComplianceRequest", children); }

SANDBOX_TEST(RequestDocumentTest, RequestIsWrittenInLinesWithoutALastLineEnd) {
    EXPECT_EQ("<?xml version=\"1.0\"?>\r\n"
              "<VeskaClientComplianceRequest Version=\"1.0\">\r\n"
              "\t<RequestType>Open</RequestType>\r\n"
              "\t<RequestURL>http://example.com:52311/a?b&amp;c</RequestURL>\r\n"
              "\t<RequestDOC>caf&#xe9; &lt;1&gt;.xml</RequestDOC>\r\n"
              "\t<RequestFlags>15</RequestFlags>\r\n"
              "</VeskaClientComplianceRequest>",
              WrittenBytes(CreateComplianceRequestOpen("http://example.com:52311/a?b&c",
                                                       "caf\xE9 <1>.xml", 15)));
    EXPECT_EQ(OpenRequest("", "", "0"), WrittenBytes(CreateComplianceRequestOpen("", "", 0)));
    EXPECT_EQ(OpenRequest("", "", "4294967295"),
              WrittenBytes(CreateComplianceRequestOpen("", "", 0xFFFFFFFFU)));
    EXPECT_EQ(progressRequest, WrittenBytes(CreateComplianceRequestProgress()));
    EXPECT_EQ(closeRequest, WrittenBytes(CreateComplianceRequestClose()));
    ClientComplianceRequest unknown = CreateComplianceRequestOpen("u", "d", 1);
    unknown.type = static_cast<ClientComplianceType>(3);
    EXPECT_EQ("<?xml version=\"1.0\"?>\r\n"
              "<VeskaClientComplianceRequest Version=\"1.0\"></VeskaClientComplianceRequest>",
              WrittenBytes(unknown));
}

SANDBOX_TEST(RequestDocumentTest, EveryByteIsEscapedByItsRule) {
    for (int byte = 1; byte < 256; ++byte) {
        string const text(1, static_cast<char>(byte));
        EXPECT_EQ(OpenRequest(Escaped(text), "", "0"),
                  WrittenBytes(CreateComplianceRequestOpen(text.c_str(), "", 0)))
            << byte;
    }
}

SANDBOX_TEST(RequestDocumentTest, WrittenRequestIsReadBackByteForByte) {
    constexpr unsigned int seed = 23;
    std::mt19937 random(seed);
    for (int round = 0; round < 300; ++round) {
        string const url = round % 10 == 0 ? LongText(random) : RandomText(random, 60);
        string const doc = RandomText(random, 60);
        for (ClientComplianceRequest const& sent :
             {CreateComplianceRequestOpen(url.c_str(), doc.c_str(),
                                          static_cast<unsigned int>(random())),
              CreateComplianceRequestClose(), CreateComplianceRequestProgress()}) {
            ClientComplianceRequestIOWrite(sent);
            ClientComplianceRequest request = CreateComplianceRequestOpen("old", "old", 77);
            ASSERT_TRUE(ClientComplianceRequestIORead(request)) << "seed " << seed;
            ASSERT_EQ(FieldsOf(sent), FieldsOf(request)) << "seed " << seed;
        }
    }
}

SANDBOX_TEST(RequestDocumentTest, TextEndsAtItsFirstNul) {
    ClientComplianceRequest request = CreateComplianceRequestOpen("", "", 0);
    request.url = string("ab\0cd", 5);
    ClientComplianceRequestIOWrite(request);
    ASSERT_TRUE(ClientComplianceRequestIORead(request));
    EXPECT_EQ("ab", request.url);
}

SANDBOX_TEST(RequestDocumentTest, ReaderAcceptsMoreThanTheWriterProduces) {
    string const open = Element("RequestType", "Open");
    RequestFields const progress(ClientComplianceProgress, "", "", 0);
    RequestFields const close(ClientComplianceClose, "", "", 0);
    struct Case {
        char const* what;
        string document;
        RequestFields expected;
    };
    Case const cases[] = {
        {"no children", Request(""), progress},
        {"lower-case type", Request("<RequestType>open</RequestType>"), progress},
        {"unknown type after a known one",
         Request("<RequestType>Close</RequestType><RequestType>x</RequestType>"), close},
        {"any order, unknown children, the last of repeated ones",
         Request("<RequestFlags>1</RequestFlags><RequestDOC>d</RequestDOC><Other>o</Other>"
                 "<RequestURL>u1</RequestURL><RequestURL>u2</RequestURL>"
                 "<RequestType>Progress</RequestType>" +
                 open),
         {ClientComplianceOpen, "u2", "d", 1}},
        {"texts count for Open only",
         Request("<RequestType>Close</RequestType><RequestURL>u</RequestURL>"
                 "<RequestDOC>d</RequestDOC><RequestFlags>3</RequestFlags>"),
         close},
        {"no declaration, bare line feeds, another version",
         "\n<VeskaClientComplianceRequest Version=\"9\">\n" + open +
             "\n</VeskaClientComplianceRequest>\n",
         {ClientComplianceOpen, "", "", 0}},
        {"flags that are no number",
         Request(open + Element("RequestFlags", "x")),
         {ClientComplianceOpen, "", "", 0}},
        {"flags followed by other text",
         Request(open + Element("RequestFlags", " 12x")),
         {ClientComplianceOpen, "", "", 12}},
        {"negative flags",
         Request(open + Element("RequestFlags", "-1")),
         {ClientComplianceOpen, "", "", 0xFFFFFFFFU}},
        {"flags cut to 32 bits",
         Request(open + Element("RequestFlags", "4294967301")),
         {ClientComplianceOpen, "", "", 5}},
    };
    for (Case const& one : cases) {
        WriteWholeFile(requestFile, one.document);
        ClientComplianceRequest request = CreateComplianceRequestOpen("old", "old", 77);
        EXPECT_TRUE(ClientComplianceRequestIORead(request)) << one.what;
        EXPECT_EQ(one.expected, FieldsOf(request)) << one.what;
    }
}

// Expects that the document is unreadable, and that the record keeps its value.
void ExpectUnreadable(string const& what) {
    ClientComplianceRequest request = CreateComplianceRequestOpen("old", "old", 77);
    EXPECT_FALSE(ClientComplianceRequestIORead(request)) << what;
    EXPECT_EQ(RequestFields(ClientComplianceOpen, "old", "old", 77), FieldsOf(request)) << what;
}

SANDBOX_TEST(RequestDocumentTest, MalformedDocumentIsUnreadableAndIsKept) {
    for (string const document :
         {"", "no element at all", "<VeskaClientComplianceRequest><RequestType>Open",
          "<VeskaClientComplianceRequest>",
          "<VeskaClientComplianceResponse></VeskaClientComplianceResponse>",
          "<veskaclientcompliancerequest></veskaclientcompliancerequest>"}) {
        WriteWholeFile(requestFile, document);
        ExpectUnreadable(document);
        EXPECT_EQ(document, ReadWholeFile(requestFile));
    }
}

SANDBOX_TEST(RequestDocumentTest, AnyEntryOfThatNameCountsAsExisting) {
    EXPECT_FALSE(ClientComplianceRequestExists());
    ExpectUnreadable("nothing");
    for (string const kind : {"file", "directory", "dangling link", "FIFO", "socket"}) {
        MakeEntry(requestFile, kind);
        EXPECT_TRUE(ClientComplianceRequestExists()) << kind;
        if (kind != "FIFO")
            ExpectUnreadable(kind);
        std::filesystem::remove(requestFile);
    }
}

SANDBOX_TEST(RequestDocumentTest, EntryThatCannotBeExaminedCountsAsAbsent) {
    WriteWholeFile(requestFile, "");
    std::filesystem::permissions(requestDirectory, std::filesystem::perms::none);
    Sandbox::DropPrivileges();
    EXPECT_FALSE(ClientComplianceRequestExists());
}

TEST(RequestDocumentTest, WaitReturnsAtOnce) {
    EXPECT_TRUE(ClientComplianceRequestIOWait(0));
    EXPECT_TRUE(ClientComplianceRequestIOWait(4000000000U));
}

} // namespace
