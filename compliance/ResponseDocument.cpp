#include "compliance/ResponseDocument.h"

#include <cstdlib>
#include <string>

#include "compliance/AgentPaths.h"
#include "compliance/DocumentTags.h"
#include "compliance/ExchangeDocument.h"
#include "compliance/FormatToStringPL.h"
#include "files/FileLocation.h"
#include "files/FileReadingPath.h"
#include "files/FileRetry.h"
#include "xml/XMLElementPL.h"
#include "xml/XMLTreeParserPL.h"

namespace {

FileLocation ResponseDirectory() { return MakeFileLocation(AgentPaths::responseDirectory); }

FileLocation ResponseLocation() {
    return FileLocation(ResponseDirectory(), AgentPaths::NameIn(AgentPaths::response));
}

FileLocation ResponseTempLocation() {
    return FileLocation(ResponseDirectory(), AgentPaths::NameIn(AgentPaths::temporaryResponse));
}

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

// Returns the text of the last child with this name, owned by the tree, or the empty string.
char const* ChildText(XMLElementPL const& element, char const* name) {
    char const* text = "";
    for (XMLElementPL const& child : element.GetElementList()) {
        if (child.GetName() == name)
            text = child.GetText().c_str();
    }
    return text;
}

void ParseItem(XMLElementPL const& element, ClientComplianceResponse& response) {
    response.Add(
        ChildText(element, xTagResponseDesignator), ChildText(element, xTagResponseResult),
        ChildText(element, xTagResponseResultType), ChildText(element, xTagResponseEvaluationTime),
        ChildText(element, xTagResponseDescription), ChildText(element, xTagResponseComment));
}

// Returns true if the child is a type element with a known type.
bool ParseChild(XMLElementPL const& child, ClientComplianceResponse& response) {
    std::string const& name = child.GetName();
    if (name == xTagClientComplianceResponseItem)
        ParseItem(child, response);
    else if (name == xTagClientComplianceResponseType)
        return ParseType(child.GetText(), response.type);
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
    ClientComplianceResponse response = ResponseFromTree(parser);
    path.Close();
    return response;
}

} // namespace

ClientComplianceResponse ResponseFromTree(XMLTreeParserPL const& document) {
    XMLElementPL const* const root = document.GetRootElement();
    if (document.HasOpenElements() || root == nullptr)
        throw ClientComplianceResponseReadFailure();
    if (root->GetName() != xTagClientComplianceResponseDocRoot)
        throw ClientComplianceResponseBadDocumentType();

    ClientComplianceResponse response(ClientComplianceProgress);
    bool typeSeen = false;
    for (XMLElementPL const& child : root->GetElementList())
        typeSeen |= ParseChild(child, response);
    if (!typeSeen)
        throw ClientComplianceResponseTypeFailure();
    return response;
}

void ClientComplianceResponseIOWrite(ClientComplianceResponse const& response) {
    FileLocation const temporary = ResponseTempLocation();
    FileLocation const published = ResponseLocation();
    if (!WriteAndPublishDocument({temporary, published},
                                 [&] { WriteDocument(temporary, response); }))
        throw ClientComplianceResponseIOWriteFailure();
}

ClientComplianceResponse ClientComplianceResponseIORead() {
    return ReadResponse(ResponseLocation());
}

void ClientComplianceResponseIORelease() {
    ForceNonexistenceWithRetry(ResponseLocation(), FileRetryLog());
}
