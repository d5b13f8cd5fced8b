// Tests the contents of a request, its reader, Exists and Wait. ExchangeDocumentTest tests the
// other functions.
#include "compliance/RequestDocument.h"

#include "tests/compliance/ExchangeFiles.h"
#include "tests/compliance/Records.h"
#include "tests/files/Entries.h"
#include "tests/system/Documents.h"

namespace {

using namespace ExchangeFiles;
using std::string;

string WrittenBytes(ClientComplianceRequest const& request) {
    ClientComplianceRequestIOWrite(request);
    return ReadWholeFile(requestFile);
}

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

SANDBOX_TEST(RequestDocumentTest, ReaderAcceptsMoreThanTheWriterProduces) {
    string const open = Element("RequestType", "Open");
    auto const flags = [&](string const& text) {
        return open + Element("RequestFlags", text);
    };
    auto const withFlags = [](unsigned int value) {
        return RequestFields(ClientComplianceOpen, "", "", value);
    };
    RequestFields const progress(ClientComplianceProgress, "", "", 0);
    RequestFields const close(ClientComplianceClose, "", "", 0);
    struct {
        char const* rule;
        string children;
        RequestFields expected;
    } const cases[] = {
        {"no children", "", progress},
        {"lower-case type", "<RequestType>open</RequestType>", progress},
        {"unknown type after a known one",
         "<RequestType>Close</RequestType><RequestType>x</RequestType>", close},
        {"any order, unknown children, the last of repeated ones",
         "<RequestFlags>1</RequestFlags><RequestDOC>d</RequestDOC><Other>o</Other>"
         "<RequestURL>u1</RequestURL><RequestURL>u2</RequestURL>"
         "<RequestType>Progress</RequestType>" +
             open,
         {ClientComplianceOpen, "u2", "d", 1}},
        {"texts count for Open only",
         "<RequestType>Close</RequestType><RequestURL>u</RequestURL><RequestDOC>d</RequestDOC>"
         "<RequestFlags>3</RequestFlags>",
         close},
        {"text ends at its first NUL",
         open + Element("RequestURL", "ab&#x00;cd"),
         {ClientComplianceOpen, "ab", "", 0}},
        {"flags that are no number", flags("x"), withFlags(0)},
        {"flags followed by other text", flags(" 12x"), withFlags(12)},
        {"negative flags", flags("-1"), withFlags(0xFFFFFFFFU)},
        {"flags cut to 32 bits", flags("4294967301"), withFlags(5)},
    };
    for (auto const& [rule, children, expected] : cases) {
        WriteWholeFile(requestFile, "\n" + Element("VeskaClientComplianceRequest", children));
        ClientComplianceRequest request = CreateComplianceRequestOpen("old", "old", 77);
        EXPECT_TRUE(ClientComplianceRequestIORead(request)) << rule;
        EXPECT_EQ(expected, FieldsOf(request)) << rule;
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
