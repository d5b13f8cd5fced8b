// Compares the reader of response documents, for any chunk boundaries, with a reference
// implementation.

#include "compliance/ClientCompliance.h"
#include "compliance/ResponseDocument.h"
#include "fuzz/Fuzz.h"
#include "fuzz/ReferenceNumber.h"
#include "fuzz/ReferenceTree.h"
#include "tests/support/Chunks.h"
#include "xml/XMLTreeParserPL.h"

namespace {

// The record as texts, or one text for an exception.
using Outcome = std::vector<std::string>;

using Fuzz::UpToNul;

// Returns the number truncated to 32 bits.
std::string NumberOf(std::string const& text) {
    return std::to_string(static_cast<std::int32_t>(ReferenceNumber::Signed(text)));
}

std::string LastText(ReferenceTree::Node const& node, char const* name) {
    std::string text;
    for (ReferenceTree::Node const* child : node.children)
        if (child->name == name)
            text = UpToNul(child->text);
    return text;
}

Outcome ReferenceRead(ReferenceTree const& document) {
    if (document.HasOpenElements() || document.Root() == nullptr)
        return {"broken off"};
    if (document.Root()->name != "VeskaClientComplianceResponse")
        return {"other root"};
    Outcome all{"", "2", "0", "0"};
    std::map<std::string, std::size_t> const fields{
        {"ResponseProgressState", 1}, {"ResponseProgressError", 2}, {"ResponseProgressPercent", 3}};
    for (ReferenceTree::Node const* child : document.Root()->children) {
        if (child->name == "ResponseType") {
            all[0] = TypeOf(child->text, all[0]);
        } else if (fields.contains(child->name)) {
            all[fields.at(child->name)] = NumberOf(child->text);
        } else if (child->name == "ResponseItem") {
            for (char const* name :
                 {"Designator", "Result", "ResultType", "EvaluationTime", "Description", "Comment"})
                all.push_back(LastText(*child, name));
        }
    }
    return all[0].empty() ? Outcome{"no type"} : all;
}

Outcome Read(XMLTreeParserPL const& document) {
    try {
        ClientComplianceResponse const response = ResponseFromTree(document);
        Outcome all{std::to_string(response.type), std::to_string(response.state),
                    std::to_string(response.error), std::to_string(response.percent)};
        for (ClientComplianceResponseItem const& item : response.items)
            all.insert(all.end(), {item.designator, item.result, item.resultType,
                                   item.evaluationTime, item.description, item.comment});
        return all;
    } catch (ClientComplianceResponseReadFailure const&) {
        return {"broken off"};
    } catch (ClientComplianceResponseBadDocumentType const&) {
        return {"other root"};
    } catch (ClientComplianceResponseTypeFailure const&) {
        return {"no type"};
    }
}

} // namespace

int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    std::vector<std::size_t> const lengths = Fuzz::TakeLengths(input);
    XMLTreeParserPL parser;
    SplitByLengths(input.Rest(), lengths).Feed([&](ConstData chunk) {
        parser.Parse(chunk.View().data(), static_cast<unsigned int>(chunk.Length()));
    });
    Require(Read(parser) == ReferenceRead(ReferenceTree(input.Rest())),
            "the response agrees with the reference");
    return 0;
}
