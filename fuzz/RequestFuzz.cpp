// Compares the writer and the reader of request documents with reference implementations. The
// reader also takes arbitrary bytes.
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "compliance/ClientCompliance.h"
#include "compliance/RequestDocument.h"
#include "fuzz/Fuzz.h"
#include "fuzz/PrivateRoot.h"
#include "fuzz/ReferenceNumber.h"
#include "fuzz/ReferenceTree.h"

namespace {

constexpr char const* directory = "/var/opt/VeskaClient/RequestDir";
constexpr char const* requestFile = "/var/opt/VeskaClient/RequestDir/request.xml";

// The fields of a request as texts; empty for a document that is not a request.
using Outcome = std::vector<std::string>;

Outcome FieldsOf(ClientComplianceRequest const& request) {
    return {std::to_string(request.type), request.url, request.doc, std::to_string(request.flags)};
}

std::string UpToZero(std::string const& text) { return text.c_str(); }

Outcome ReferenceRead(ReferenceTree const& document) {
    if (document.HasOpenElements() || document.Root() == nullptr ||
        document.Root()->name != "VeskaClientComplianceRequest")
        return {};
    Outcome request{"2", "", "", "0"};
    for (ReferenceTree::Node const* child : document.Root()->children) {
        if (child->name == "RequestType" && child->text == "Open")
            request[0] = "0";
        else if (child->name == "RequestType" && child->text == "Close")
            request[0] = "1";
        else if (child->name == "RequestType" && child->text == "Progress")
            request[0] = "2";
        else if (child->name == "RequestURL")
            request[1] = UpToZero(child->text);
        else if (child->name == "RequestDOC")
            request[2] = UpToZero(child->text);
        else if (child->name == "RequestFlags")
            request[3] = std::to_string(
                static_cast<std::uint32_t>(ReferenceNumber::Unsigned(UpToZero(child->text))));
    }
    if (request[0] != "0")
        return {request[0], "", "", "0"};
    return request;
}

Outcome Read() {
    ClientComplianceRequest request = CreateComplianceRequestOpen("as", "before", 7);
    if (ClientComplianceRequestIORead(request))
        return FieldsOf(request);
    Fuzz::Require(FieldsOf(request) == Outcome{"0", "as", "before", "7"},
                  "a record is unchanged if there is no request");
    return {};
}

std::string Escaped(std::string const& text) {
    std::string escaped;
    for (char byte : text) {
        char number[8];
        std::snprintf(number, sizeof(number), "&#x%02x;", static_cast<unsigned char>(byte));
        if (byte == '<')
            escaped += "&lt;";
        else if (byte == '>')
            escaped += "&gt;";
        else if (byte == '&')
            escaped += "&amp;";
        else if (static_cast<unsigned char>(byte) >= 0x80)
            escaped += number;
        else
            escaped += byte;
    }
    return escaped;
}

std::string Line(std::string const& name, std::string const& text) {
    return "\r\n\t<" + name + '>' + Escaped(text) + "</" + name + '>';
}

std::string ReferenceWrite(ClientComplianceRequest const& request) {
    std::string document = "<?xml version=\"1.0\"?>\r\n"
                           "<VeskaClientComplianceRequest Version=\"1.0\">";
    std::string const end = "</VeskaClientComplianceRequest>";
    std::vector<std::string> const types = {"Open", "Close", "Progress"};
    auto const type = static_cast<std::size_t>(request.type);
    if (type >= types.size())
        return document + end;
    document += Line("RequestType", types[type]);
    if (request.type == ClientComplianceOpen)
        document += Line("RequestURL", request.url) + Line("RequestDOC", request.doc) +
                    Line("RequestFlags", std::to_string(request.flags));
    return document + "\r\n" + end;
}

struct Exchange {
    std::string written;
    Outcome read;
    bool isAlone;
    bool isGone;
};

bool IsAlone() {
    auto const entries = std::filesystem::directory_iterator(directory);
    return std::distance(begin(entries), end(entries)) == 1;
}

// Performs an exchange in a private root directory. `put` creates the request.
template <class Put>
Exchange ExchangeOf(Put put) {
    Fuzz::PrivateRoot const root;
    std::filesystem::create_directories(directory);
    put();
    Exchange exchange{Fuzz::ReadFile(requestFile), Read(), IsAlone(), false};
    Fuzz::Require(ClientComplianceRequestExists(), "a request exists until it is released");
    ClientComplianceRequestIORelease();
    exchange.isGone = !ClientComplianceRequestExists() && Read().empty();
    return exchange;
}

void CompareReading(Exchange const& exchange) {
    Fuzz::Require(exchange.read == ReferenceRead(ReferenceTree(exchange.written)),
                  "the request agrees with the reference");
    Fuzz::Require(exchange.isAlone && exchange.isGone,
                  "the request is the only file, and its release removes it");
}

void CompareWriting(ClientComplianceRequest const& request) {
    Exchange const exchange = ExchangeOf([&] { ClientComplianceRequestIOWrite(request); });
    Fuzz::Require(exchange.written == ReferenceWrite(request),
                  "the written request agrees with the reference");
    CompareReading(exchange);
    Outcome expected{"2", "", "", "0"};
    if (request.type == ClientComplianceClose)
        expected[0] = "1";
    else if (request.type == ClientComplianceOpen)
        expected = {"0", UpToZero(request.url), UpToZero(request.doc),
                    std::to_string(request.flags)};
    Fuzz::Require(exchange.read == expected, "a written request is read back");
}

} // namespace

// Input: a byte for the type of a request to write, then its flags and texts; or a byte that
// selects reading, then a document.
int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    unsigned int const kind = input.Byte() % 8U;
    if (kind >= 5) {
        CompareReading(ExchangeOf([&] { Fuzz::WriteFile(requestFile, input.Rest()); }));
        return 0;
    }
    auto const flags = static_cast<std::uint32_t>(input.Number64());
    std::string const url = input.Text();
    CompareWriting({static_cast<ClientComplianceType>(static_cast<int>(kind) - 1), url,
                    std::string(input.Rest()), flags});
    return 0;
}
