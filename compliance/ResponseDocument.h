// response.xml: the agent's answer to a request.
//
// One fixed name in "/var/opt/VeskaClient/ResponseDir", published by rename. The same code serves
// both sides: the tool reads, the agent's side writes and releases; the tool never removes an
// answer. docs/exchange.md has the bytes. The directory is the agent's; nothing here creates it.
#pragma once

#include "compliance/ClientCompliance.h"

class XMLTreeParserPL;

// Writes the response to responseTemp.xml, flushes it to disk and moves it to response.xml.
//
// Throws ClientComplianceResponseIOWriteFailure after any failure; what becomes of the temporary
// document then is told with ClientComplianceRequestIOWrite, and is the same here.
void ClientComplianceResponseIOWrite(ClientComplianceResponse const& response);

// Reads the document into a new record.
//
// Throws FileNotFoundError when there is none, ClientComplianceResponseReadFailure when it breaks
// off inside an element or holds none, ClientComplianceResponseBadDocumentType when its root has
// another name, ClientComplianceResponseTypeFailure when no known type stands in it, and other file
// errors as they come.
//
// Accepts more than is ever written: the children in any order, the last usable one of repeated
// ones, unknown ones passed over, progress elements under any type. A row's missing texts are
// empty. Texts end at their first zero byte. Numbers are read by the rules of atoi, so text that is
// no number counts as 0.
ClientComplianceResponse ClientComplianceResponseIORead();

// The record that a document holds which was read to its end: what the operation above does behind
// the file. Throws as it does, but for the file errors.
ClientComplianceResponse TakeResponse(XMLTreeParserPL const& document);

// Removes the document, with retries; an absent one is no error. Throws FileIOError.
void ClientComplianceResponseIORelease();
