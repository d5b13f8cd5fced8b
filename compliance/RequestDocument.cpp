#include "compliance/RequestDocument.h"

#include <cstdlib>
#include <string>

#include "compliance/AgentPaths.h"
#include "compliance/ClientCompliance.h"
#include "compliance/DocumentTags.h"
#include "compliance/ExchangeDocument.h"
#include "compliance/FormatToStringPL.h"
#include "files/FileLocation.h"
#include "files/FileReadingPath.h"
#include "files/FileRetry.h"
#include "files/unix/UnixFileInfo.h"
#include "xml/XMLElementPL.h"
#include "xml/XMLTreeParserPL.h"

namespace {

FileLocation const& RequestDirectory() {
    static FileLocation const directory = MakeFileLocation(AgentPaths::requestDirectory);
    return directory;
}

FileLocation DocumentLocation() {
    return FileLocation(RequestDirectory(), AgentPaths::NameIn(AgentPaths::request));
}

FileLocation TemporaryLocation() {
    return FileLocation(RequestDirectory(), AgentPaths::NameIn(AgentPaths::temporaryRequest));
}

// Writes nothing for an unknown type.
void WriteElements(ExchangeDocument& document, ClientComplianceRequest const& request) {
    ConstData const type = TypeText(request.type);
    if (type.Length() == 0)
        return;
    document.WriteElement(xTagClientComplianceRequestType, type);
    if (request.type != ClientComplianceOpen)
        return;
    document.WriteElement(xTagClientComplianceRequestURL, request.url);
    document.WriteElement(xTagClientComplianceRequestDOC, request.doc);
    document.WriteElement(xTagClientComplianceRequestFlags,
                          FormatToStringPL(request.flags).AsChar());
}

void WriteDocument(FileLocation const& file, ClientComplianceRequest const& request) {
    ExchangeDocument document(file, xTagClientComplianceRequestDocRoot,
                              xTagClientComplianceRequestDocVersion,
                              xDatClientComplianceRequestDocVersion);
    WriteElements(document, request);
    document.End();
}

bool ParseDocument(FileLocation const& file, XMLTreeParserPL& parser) {
    try {
        FileReadingPath path(file);
        FeedDocument(path, parser);
        path.Close();
        return true;
    } catch (...) {
        return false;
    }
}

// The fields that were parsed. The texts belong to the tree.
struct RequestFields {
    ClientComplianceType type = ClientComplianceProgress;
    char const* url = "";
    char const* doc = "";
    unsigned int flags = 0;
};

void ParseChild(XMLElementPL const& child, RequestFields& fields) {
    if (child.GetName() == xTagClientComplianceRequestType)
        ParseType(child.GetText(), fields.type);
    else if (child.GetName() == xTagClientComplianceRequestURL)
        fields.url = child.GetText().c_str();
    else if (child.GetName() == xTagClientComplianceRequestDOC)
        fields.doc = child.GetText().c_str();
    else if (child.GetName() == xTagClientComplianceRequestFlags)
        fields.flags =
            static_cast<unsigned int>(std::strtoul(child.GetText().c_str(), nullptr, 10));
}

ClientComplianceRequest MakeRequest(RequestFields const& fields) {
    switch (fields.type) {
    case ClientComplianceOpen:
        return CreateComplianceRequestOpen(fields.url, fields.doc, fields.flags);
    case ClientComplianceClose:
        return CreateComplianceRequestClose();
    default:
        return CreateComplianceRequestProgress();
    }
}

bool ReadRequest(ClientComplianceRequest& request, FileLocation const& file) {
    XMLTreeParserPL parser;
    if (!ParseDocument(file, parser))
        return false;
    XMLElementPL const* const root = parser.GetRootElement();
    if (parser.HasOpenElements() || root == nullptr ||
        root->GetName() != xTagClientComplianceRequestDocRoot)
        return false;
    RequestFields fields;
    for (XMLElementPL const& child : root->GetElementList())
        ParseChild(child, fields);
    request = MakeRequest(fields);
    return true;
}

} // namespace

void ClientComplianceRequestIOWrite(ClientComplianceRequest const& request) {
    FileLocation const temporary = TemporaryLocation();
    FileLocation const published = DocumentLocation();
    if (!WriteAndPublishDocument({temporary, published},
                                 [&] { WriteDocument(temporary, request); }))
        throw ClientComplianceRequestIOWriteFailure();
}

bool ClientComplianceRequestExists() {
    return !UnixPlatform::UnixFileInfo(DocumentLocation()).IsNothingThere();
}

bool ClientComplianceRequestIORead(ClientComplianceRequest& request) {
    if (!ClientComplianceRequestExists())
        return false;
    return ReadRequest(request, DocumentLocation());
}

void ClientComplianceRequestIORelease() {
    ForceNonexistenceWithRetry(DocumentLocation(), FileRetryLog());
}

bool ClientComplianceRequestIOWait(unsigned int) { return true; }
