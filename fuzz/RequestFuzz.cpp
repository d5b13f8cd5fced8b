// Compares the writer and the reader of request documents with reference implementations. The
// reader also takes arbitrary bytes.
#include <cstdio>
#include <filesystem>

#include "compliance/ClientCompliance.h"
#include "compliance/RequestDocument.h"
#include "fuzz/Fuzz.h"
#include "fuzz/PrivateRoot.h"
#include "fuzz/ReferenceNumber.h"
#include "fuzz/ReferenceTree.h"
#include "tests/system/Documents.h"

namespace {

constexpr char const* directory = "/var/opt/VeskaClient/RequestDir";
constexpr char const* requestFile = "/var/opt/VeskaClient/RequestDir/request.xml";
constexpr char const* emptyRequest = "<?xml version=\"1.0\"?>\r\n"
                                     "<VeskaClientComplianceRequest Version=\"1.0\">"
                                     "</VeskaClientComplianceRequest>";

// The fields of a request as texts; empty for a document that is not a request.
using Outcome = std::vector<std::string>;

Outcome FieldsOf(ClientComplianceRequest const& request) {
    return {std::to_string(request.type), request.url, request.doc, std::to_string(request.flags)};
}

using Fuzz::UpToNul;

Outcome ReferenceRead(ReferenceTree const& document) {
    if (document.HasOpenElements() || document.Root() == nullptr ||
        document.Root()->name != "VeskaClientComplianceRequest")
        return {};
    Outcome request{"2", "", "", "0"};
    for (ReferenceTree::Node const* child : document.Root()->children) {
        if (child->name == "RequestType")
            request[0] = TypeOf(child->text, request[0]);
        else if (child->name == "RequestURL")
            request[1] = UpToNul(child->text);
        else if (child->name == "RequestDOC")
            request[2] = UpToNul(child->text);
        else if (child->name == "RequestFlags")
            request[3] =
                std::to_string(static_cast<std::uint32_t>(ReferenceNumber::Unsigned(child->text)));
    }
    if (request[0] != "0")
        return {request[0], "", "", "0"};
    return request;
}

Outcome Read() {
    ClientComplianceRequest request = CreateComplianceRequestOpen("as", "before", 7);
    if (ClientComplianceRequestIORead(request))
        return FieldsOf(request);
    Require(FieldsOf(request) == Outcome{"0", "as", "before", "7"},
            "a record is unchanged if there is no request");
    return {};
}

std::string ReferenceWrite(ClientComplianceRequest const& request) {
    if (request.type == ClientComplianceOpen)
        return OpenRequest(Escaped(request.url), Escaped(request.doc),
                           std::to_string(request.flags));
    return request.type == ClientComplianceClose      ? closeRequest
           : request.type == ClientComplianceProgress ? progressRequest
                                                      : emptyRequest;
}

struct Exchange {
    std::string written;
    Outcome read;
};

// Performs an exchange in a private root directory. `put` creates the request.
template <class Put>
Exchange ExchangeOf(Put put) {
    Fuzz::PrivateRoot const root;
    std::filesystem::create_directories(directory);
    put();
    Exchange const exchange{Fuzz::ReadFile(requestFile), Read()};
    auto const entries = std::filesystem::directory_iterator(directory);
    Require(std::distance(begin(entries), end(entries)) == 1, "the request is the only file");
    Require(ClientComplianceRequestExists(), "a request exists until it is released");
    ClientComplianceRequestIORelease();
    Require(!ClientComplianceRequestExists() && Read().empty(), "a release removes the request");
    Require(exchange.read == ReferenceRead(ReferenceTree(exchange.written)),
            "the request agrees with the reference");
    return exchange;
}

void CompareWriting(ClientComplianceRequest const& request) {
    Exchange const exchange = ExchangeOf([&] { ClientComplianceRequestIOWrite(request); });
    Require(exchange.written == ReferenceWrite(request),
            "the written request agrees with the reference");
    Outcome expected{"2", "", "", "0"};
    if (request.type == ClientComplianceClose)
        expected[0] = "1";
    else if (request.type == ClientComplianceOpen)
        expected = {"0", UpToNul(request.url), UpToNul(request.doc), std::to_string(request.flags)};
    Require(exchange.read == expected, "a written request is read back");
}

} // namespace

// Input: a byte for the type of a request to write, then its flags and texts; or a byte that
// selects reading, then a document.
int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    unsigned int const kind = input.Byte() % 8U;
    if (kind >= 5) {
        ExchangeOf([&] { Fuzz::WriteFile(requestFile, input.Rest()); });
        return 0;
    }
    auto const flags = static_cast<std::uint32_t>(input.Number64());
    std::string const url = input.Text();
    CompareWriting({static_cast<ClientComplianceType>(static_cast<int>(kind) - 1), url,
                    std::string(input.Rest()), flags});
    return 0;
}
