// Compares the reader of response documents, for any chunk boundaries, with a reference
// implementation.
#include <cstdint>
#include <string>
#include <vector>

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

std::string UpToZero(std::string const& text) { return text.c_str(); }

// Returns the number truncated to 32 bits.
std::string NumberOf(std::string const& text) {
    return std::to_string(static_cast<std::int32_t>(ReferenceNumber::Signed(UpToZero(text))));
}

std::string LastText(ReferenceTree::Node const& node, char const* name) {
    std::string text;
    for (ReferenceTree::Node const* child : node.children)
        if (child->name == name)
            text = UpToZero(child->text);
    return text;
}

Outcome ReferenceRead(ReferenceTree const& document) {
    if (document.HasOpenElements() || document.Root() == nullptr)
        return {"broken off"};
    if (document.Root()->name != "VeskaClientComplianceResponse")
        return {"other root"};
    char const* type = nullptr;
    std::string state = "2";
    std::string error = "0";
    std::string percent = "0";
    Outcome rows;
    for (ReferenceTree::Node const* child : document.Root()->children) {
        if (child->name == "ResponseType") {
            if (child->text == "Open")
                type = "0";
            else if (child->text == "Close")
                type = "1";
            else if (child->text == "Progress")
                type = "2";
        } else if (child->name == "ResponseProgressState") {
            state = NumberOf(child->text);
        } else if (child->name == "ResponseProgressError") {
            error = NumberOf(child->text);
        } else if (child->name == "ResponseProgressPercent") {
            percent = NumberOf(child->text);
        } else if (child->name == "ResponseItem") {
            for (char const* name :
                 {"Designator", "Result", "ResultType", "EvaluationTime", "Description", "Comment"})
                rows.push_back(LastText(*child, name));
        }
    }
    if (type == nullptr)
        return {"no type"};
    Outcome all{type, state, error, percent};
    all.insert(all.end(), rows.begin(), rows.end());
    return all;
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
    Fuzz::Require(Read(parser) == ReferenceRead(ReferenceTree(input.Rest())),
                  "the response agrees with the reference");
    return 0;
}
