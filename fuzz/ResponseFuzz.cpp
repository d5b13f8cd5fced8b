// The reader of responses, in any cutting, against the same document read plainly.
#include <cstdint>
#include <string>
#include <vector>

#include "compliance/ClientCompliance.h"
#include "compliance/ResponseDocument.h"
#include "fuzz/Fuzz.h"
#include "fuzz/PlainTree.h"
#include "xml/XMLTreeParserPL.h"

namespace {

// What came of a document: the exception's letter, or the record as texts.
using Outcome = std::vector<std::string>;

std::string UpToZero(std::string const& text) { return text.c_str(); }

// Blanks, a sign, digits up to the first other byte; held at the limits of 64 bits and cut to 32.
std::string NumberOf(std::string const& text) {
    std::size_t at = text.find_first_not_of(" \t\n\v\f\r");
    bool const negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+'))
        ++at;
    __extension__ using Wide = __int128;
    Wide value = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at)
        if (value <= INT64_MAX)
            value = value * 10 + (text[at] - '0');
    value = negative ? -value : value;
    value = value > INT64_MAX ? INT64_MAX : value < INT64_MIN ? INT64_MIN : value;
    return std::to_string(static_cast<std::int32_t>(static_cast<std::int64_t>(value)));
}

std::string LastText(PlainTree::Node const& node, char const* name) {
    std::string text;
    for (PlainTree::Node const* child : node.children)
        if (child->name == name)
            text = UpToZero(child->text);
    return text;
}

Outcome ReadPlainly(PlainTree const& document) {
    if (document.HasOpenElements() || document.Root() == nullptr)
        return {"broken off"};
    if (document.Root()->name != "VeskaClientComplianceResponse")
        return {"other root"};
    char const* type = nullptr;
    std::string state = "2";
    std::string error = "0";
    std::string percent = "0";
    Outcome rows;
    for (PlainTree::Node const* child : document.Root()->children) {
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
        ClientComplianceResponse const response = TakeResponse(document);
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
    Fuzz::Cutting const cutting(input);
    XMLTreeParserPL parser;
    cutting.Feed(input.Rest(), [&](char const* bytes, std::size_t length) {
        parser.Parse(bytes, static_cast<unsigned int>(length));
    });
    Fuzz::Require(Read(parser) == ReadPlainly(PlainTree(input.Rest())),
                  "the response is that of the document read plainly");
    return 0;
}
