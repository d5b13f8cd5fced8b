// Reads and writes response.xml, the agent's response to a request.
//
// The path is fixed (AgentPaths.h). The document is published by rename. The tool reads the
// document; the agent's side writes and removes it. The tool never removes it. docs/exchange.md
// specifies the format. The agent creates the directory of the document.
#pragma once

#include "compliance/ClientCompliance.h"

class XMLTreeParserPL;

// Publishes the response: writes responseTemp.xml, flushes it to disk and renames it to
// response.xml. Writes state, error and percentage only if the type is Progress.
//
// Throws ClientComplianceResponseIOWriteFailure after a failure. The entry at the temporary path,
// its failed removal, a failed rename(2) and exhausted memory are handled as by
// ClientComplianceRequestIOWrite.
void ClientComplianceResponseIOWrite(ClientComplianceResponse const& response);

// Reads the document and returns the response. Throws:
// - FileNotFoundError if there is no document
// - ClientComplianceResponseReadFailure if it ends inside an element or has no root
// - ClientComplianceResponseBadDocumentType if its root has another name
// - ClientComplianceResponseTypeFailure if it has no known type
// - the other exceptions of the file layer, and std::bad_alloc
//
// Children may be in any order. Each ResponseItem is a row. If several other children have the same
// name, the last one counts; for types, the last known one counts. Unknown children are ignored.
// Progress elements are accepted with every type. A missing text of a row is empty, and a text ends
// at its first NUL. Numbers are parsed by atoi(3), so text that is not a number counts as 0.
ClientComplianceResponse ClientComplianceResponseIORead();

// Returns the response in a parsed document. Throws like ClientComplianceResponseIORead, except for
// the exceptions of the file layer.
ClientComplianceResponse ResponseFromTree(XMLTreeParserPL const& document);

// Removes the document by ForceNonexistenceWithRetry. Does nothing if there is none. Throws
// FileIOError.
void ClientComplianceResponseIORelease();
