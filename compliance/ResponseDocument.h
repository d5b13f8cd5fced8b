// Reads and writes response.xml, the agent's response to a request.
//
// The path is fixed (AgentPaths.h). The document is published by rename. The tool reads the
// document; the agent's side writes and removes it. The tool never removes it. docs/exchange.md
// specifies the format. The agent creates the directory.
#pragma once

#include "compliance/ClientCompliance.h"

class XMLTreeParserPL;

// Publishes the response: writes responseTemp.xml, flushes it to disk and renames it to
// response.xml.
//
// Throws ClientComplianceResponseIOWriteFailure after a failure. The temporary document is then
// handled as by ClientComplianceRequestIOWrite, and a failed rename(2) is not reported either.
void ClientComplianceResponseIOWrite(ClientComplianceResponse const& response);

// Reads the document and returns the response. Throws:
// - FileNotFoundError if there is no document
// - ClientComplianceResponseReadFailure if it ends inside an element or has no root
// - ClientComplianceResponseBadDocumentType if its root has another name
// - ClientComplianceResponseTypeFailure if it has no known type
// - the other exceptions of the file layer
//
// Children may be in any order. Of several with the same name, the last valid one counts. Unknown
// ones are ignored. Progress elements are accepted with every type. Missing texts of a row are
// empty. Texts end at their first NUL. Numbers are parsed by atoi, so text that is not a number
// counts as 0.
ClientComplianceResponse ClientComplianceResponseIORead();

// Returns the response in a parsed document. Throws like ClientComplianceResponseIORead, except for
// the exceptions of the file layer.
ClientComplianceResponse ResponseFromTree(XMLTreeParserPL const& document);

// Removes the document, with retries. Does nothing if there is none. Throws FileIOError.
void ClientComplianceResponseIORelease();
