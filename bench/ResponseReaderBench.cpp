// Parsing a response document into a record: the XML tree and its reader, compared with expat and a
// handler that fills the same record directly from events.
#include <cstdlib>
#include <string>
#include <string_view>

#include "bench/Bench.h"
#include "bench/EventReaders.h"
#include "bench/Inputs.h"
#include "bench/ResponseDocuments.h"
#include "compliance/ClientCompliance.h"
#include "compliance/DocumentTags.h"
#include "compliance/ResponseDocument.h"
#include "xml/XMLTreeParserPL.h"

namespace {

ClientComplianceResponse ReadOurs(std::string const& document) {
    XMLTreeParserPL parser;
    Inputs::InBlocks(document, [&](std::string_view block) {
        parser.Parse(block.data(), static_cast<unsigned int>(block.size()));
    });
    return ResponseFromTree(parser);
}

// Fills a record from events. Appends the texts of a row directly to the record.
class ResponseEvents {
public:
    void Start(std::string_view name) {
        target = nullptr;
        if (name == xTagClientComplianceResponseItem) {
            response.Add("", "", "", "", "", "");
            return;
        }
        static std::pair<char const*, std::string ClientComplianceResponseItem::*> const fields[] =
            {
                {xTagResponseDesignator, &ClientComplianceResponseItem::designator},
                {xTagResponseResult, &ClientComplianceResponseItem::result},
                {xTagResponseResultType, &ClientComplianceResponseItem::resultType},
                {xTagResponseEvaluationTime, &ClientComplianceResponseItem::evaluationTime},
                {xTagResponseDescription, &ClientComplianceResponseItem::description},
                {xTagResponseComment, &ClientComplianceResponseItem::comment},
            };
        for (auto const& [fieldName, field] : fields) {
            if (!response.items.empty() && name == fieldName)
                target = &(response.items.back().*field);
        }
        if (target == nullptr)
            target = &scalar;
        target->clear();
    }
    void Attribute(std::string_view, std::string_view) {}
    void End(std::string_view name) {
        target = nullptr;
        if (name == xTagClientComplianceResponseProgressState)
            response.state = std::atoi(scalar.c_str());
        else if (name == xTagClientComplianceResponseProgressError)
            response.error = std::atoi(scalar.c_str());
        else if (name == xTagClientComplianceResponseProgressPercent)
            response.percent = std::atoi(scalar.c_str());
    }
    void Text(std::string_view text) {
        if (target != nullptr)
            target->append(text);
    }

    ClientComplianceResponse response{ClientComplianceProgress};

private:
    std::string scalar;
    std::string* target = nullptr;
};

template <class Reader>
ClientComplianceResponse ReadStreaming(std::string const& document) {
    ResponseEvents events;
    Reader::Read(document, events);
    return std::move(events.response);
}

template <ClientComplianceResponse (*read)(std::string const&)>
unsigned int Count(std::string const& document) {
    return read(document).GetComplianceCount();
}

template <ClientComplianceResponse (*read)(std::string const&)>
std::string Describe(std::string const& document) {
    ClientComplianceResponse const response = read(document);
    std::string text = std::to_string(response.type) + " " + std::to_string(response.state) + " " +
                       std::to_string(response.error) + " " + std::to_string(response.percent);
    for (ClientComplianceResponseItem const& item : response.items) {
        for (std::string const* field : {&item.designator, &item.result, &item.resultType,
                                         &item.evaluationTime, &item.description, &item.comment})
            text.append("\n").append(*field);
    }
    return text;
}

void AddOperation(std::string const& name, std::function<std::string const&()> document) {
    Operation<std::string> operation("ResponseReader/" + name, document, SizeOf);
    operation.Add("ours", Count<ReadOurs>, Describe<ReadOurs>);
#ifdef HAVE_EXPAT
    operation.Add("expat", Count<ReadStreaming<ExpatEvents>>, Describe<ReadStreaming<ExpatEvents>>);
#endif
}

} // namespace

void RegisterOperations() { ForEachResponseDocument(AddOperation); }
