// response.xml: the agent's answer to a request.
//
// One fixed path (AgentPaths.h), published by rename. The same code serves both sides: the tool
// reads, the agent's side writes and releases; the tool never removes an answer. docs/exchange.md
// specifies the format. The directory is the agent's; nothing here creates it.
#pragma once

#include "compliance/ClientCompliance.h"

class XMLTreeParserPL;

// Writes the response to responseTemp.xml, flushes it to disk and moves it to response.xml.
//
// Throws ClientComplianceResponseIOWriteFailure after any failure; the temporary document is
// then handled as by ClientComplianceRequestIOWrite.
void ClientComplianceResponseIOWrite(ClientComplianceResponse const& response);

// Reads the document into a new record.
//
// Throws FileNotFoundError when there is none, ClientComplianceResponseReadFailure when it ends
// inside an element or holds none, ClientComplianceResponseBadDocumentType when its root has
// another name, ClientComplianceResponseTypeFailure when it has no known type, and the other errors
// of the file layer.
//
// Accepts more than is ever written: the children in any order, the last usable one of repeated
// ones, unknown ones passed over, progress elements under any type. A row's missing texts are
// empty. Texts end at their first zero byte. Numbers are read by the rules of atoi, so text that is
// no number counts as 0.
ClientComplianceResponse ClientComplianceResponseIORead();

// Returns the record in a document that was parsed to its end. Throws as
// ClientComplianceResponseIORead does, except for the file errors.
ClientComplianceResponse ResponseFromTree(XMLTreeParserPL const& document);

// Removes the document, with retries; an absent one is no error. Throws FileIOError.
void ClientComplianceResponseIORelease();
