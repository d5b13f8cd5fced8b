#include "compliance/ResponseDocument.h"

#include <cstdlib>
#include <string>

#include "compliance/ExchangeDocument.h"
#include "compliance/ExchangeVocabulary.h"
#include "compliance/FormatToStringPL.h"
#include "files/FileLocation.h"
#include "files/FileReadingPath.h"
#include "files/FileRetry.h"
#include "xml/XMLElementPL.h"
#include "xml/XMLTreeParserPL.h"

namespace {

FileLocation ResponseDirectory() { return MakeFileLocation("/var/opt/VeskaClient/ResponseDir"); }

FileLocation DocumentLocation() { return FileLocation(ResponseDirectory(), "response.xml"); }

FileLocation TemporaryLocation() { return FileLocation(ResponseDirectory(), "responseTemp.xml"); }

void WriteProgress(ExchangeDocument& document, ClientComplianceResponse const& response) {
    document.WriteElement(xTagClientComplianceResponseProgressState,
                          FormatToStringPL(response.state).AsChar());
    document.WriteElement(xTagClientComplianceResponseProgressError,
                          FormatToStringPL(response.error).AsChar());
    document.WriteElement(xTagClientComplianceResponseProgressPercent,
                          FormatToStringPL(response.percent).AsChar());
}

void WriteItem(ExchangeDocument& document, ClientComplianceResponseItem const& item) {
    document.BeginElement(xTagClientComplianceResponseItem);
    document.WriteElement(xTagResponseDesignator, item.designator);
    document.WriteElement(xTagResponseResult, item.result);
    document.WriteElement(xTagResponseResultType, item.resultType);
    document.WriteElement(xTagResponseEvaluationTime, item.evaluationTime);
    document.WriteElement(xTagResponseDescription, item.description);
    document.WriteElement(xTagResponseComment, item.comment);
    document.EndElement();
}

void WriteDocument(FileLocation const& file, ClientComplianceResponse const& response) {
    ExchangeDocument document(file, xTagClientComplianceResponseDocRoot,
                              xTagClientComplianceResponseDocVersion,
                              xDatClientComplianceResponseDocVersion);
    document.WriteElement(xTagClientComplianceResponseType, TypeText(response.type));
    if (response.type == ClientComplianceProgress)
        WriteProgress(document, response);
    for (ClientComplianceResponseItem const& item : response.items)
        WriteItem(document, item);
    document.End();
}

// NOLINTNEXTLINE(cert-err34-c): a text that is no number counts as 0, on purpose
int NumberOf(XMLElementPL const& element) { return std::atoi(element.GetText().c_str()); }

void TakeItem(XMLElementPL const& element, ClientComplianceResponse& response) {
    // The texts belong to the tree until the row has its copies.
    char const* designator = "";
    char const* result = "";
    char const* resultType = "";
    char const* evaluationTime = "";
    char const* description = "";
    char const* comment = "";
    struct {
        char const* name;
        char const*& text;
    } const fields[] = {
        {xTagResponseDesignator, designator},   {xTagResponseResult, result},
        {xTagResponseResultType, resultType},   {xTagResponseEvaluationTime, evaluationTime},
        {xTagResponseDescription, description}, {xTagResponseComment, comment},
    };
    for (XMLElementPL const& child : element.GetElementList()) {
        for (auto const& field : fields) {
            if (child.GetName() == field.name)
                field.text = child.GetText().c_str();
        }
    }
    response.Add(designator, result, resultType, evaluationTime, description, comment);
}

// Whether the child told a known type.
bool TakeChild(XMLElementPL const& child, ClientComplianceResponse& response) {
    std::string const& name = child.GetName();
    if (name == xTagClientComplianceResponseItem)
        TakeItem(child, response);
    else if (name == xTagClientComplianceResponseType)
        return TakeType(child.GetText(), response.type);
    else if (name == xTagClientComplianceResponseProgressState)
        response.state = NumberOf(child);
    else if (name == xTagClientComplianceResponseProgressError)
        response.error = NumberOf(child);
    else if (name == xTagClientComplianceResponseProgressPercent)
        response.percent = NumberOf(child);
    return false;
}

ClientComplianceResponse ReadResponse(FileLocation const& file) {
    XMLTreeParserPL parser;
    FileReadingPath path(file);
    FeedDocument(path, parser);
    ClientComplianceResponse response = TakeResponse(parser);
    path.Close();
    return response;
}

} // namespace

ClientComplianceResponse TakeResponse(XMLTreeParserPL const& document) {
    XMLElementPL const* const root = document.GetRootElement();
    if (document.HasOpenElements() || root == nullptr)
        throw ClientComplianceResponseReadFailure();
    if (root->GetName() != xTagClientComplianceResponseDocRoot)
        throw ClientComplianceResponseBadDocumentType();

    ClientComplianceResponse response(ClientComplianceProgress);
    bool typeSeen = false;
    for (XMLElementPL const& child : root->GetElementList())
        typeSeen |= TakeChild(child, response);
    if (!typeSeen)
        throw ClientComplianceResponseTypeFailure();
    return response;
}

void ClientComplianceResponseIOWrite(ClientComplianceResponse const& response) {
    FileLocation const temporary = TemporaryLocation();
    FileLocation const published = DocumentLocation();
    if (!WriteAndPublishDocument({temporary, published},
                                 [&] { WriteDocument(temporary, response); }))
        throw ClientComplianceResponseIOWriteFailure();
}

ClientComplianceResponse ClientComplianceResponseIORead() {
    return ReadResponse(DocumentLocation());
}

void ClientComplianceResponseIORelease() {
    ForceNonexistenceWithRetry(DocumentLocation(), FileRetryLog());
}
