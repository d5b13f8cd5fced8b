// request.xml: how the tool tells the agent what it wants.
//
// One fixed name in "/var/opt/VeskaClient/RequestDir", published by rename under the exchange lock.
// The agent takes the document away to show that it has accepted it. The same code serves both
// sides: the tool writes and looks, the agent's side reads and releases. docs/exchange.md has the
// bytes. The directory is the agent's; nothing here creates it.
#pragma once

struct ClientComplianceRequest;

// Writes the request to requestTemp.xml, flushes it to disk and moves it to request.xml, so that
// the agent never sees half of it; a document of that name is replaced.
//
// Throws ClientComplianceRequestIOWriteFailure after any failure. Deliberate: what stands in the
// temporary document then, finished or not, is published all the same if that can be done, and
// otherwise removed; a failure of the removal leaves this function in its place. A hopeless failure
// takes two seconds for each of these moves and the removal.
void ClientComplianceRequestIOWrite(ClientComplianceRequest const& request);

// Whether any entry, of whatever type, stands under the document's name. One that can't be examined
// counts as absent.
bool ClientComplianceRequestExists();

// Fills the record from the document. False, with the record as it was, when there is no document,
// or none that can be read as a request; it stays where it is.
//
// Accepts more than is ever written: the children in any order, the last of repeated ones, unknown
// ones passed over. A document without a usable type counts as a Progress request. Texts end at
// their first zero byte.
bool ClientComplianceRequestIORead(ClientComplianceRequest& request);

// Removes the document, with retries; an absent one is no error. Throws FileIOError.
void ClientComplianceRequestIORelease();

// Deliberate: true at once, whatever the argument; on this platform nothing waits for a request.
bool ClientComplianceRequestIOWait(unsigned int milliseconds);
