// request.xml: the request from the tool to the agent.
//
// One fixed path (AgentPaths.h), published by rename under the exchange lock. The agent removes the
// document to acknowledge it. The same code serves both sides: the tool writes and checks, the
// agent's side reads and releases. docs/exchange.md specifies the format. The directory is the
// agent's; nothing here creates it.
#pragma once

struct ClientComplianceRequest;

// Writes the request to requestTemp.xml, flushes it to disk and moves it to request.xml, so that
// the agent never sees half of it; a document of that name is replaced.
//
// Throws ClientComplianceRequestIOWriteFailure after any failure. The temporary
// document, finished or not, is then published, or removed if that fails too. If the removal fails,
// its error is thrown instead. Each rename and the removal are retried for two seconds if they keep
// failing.
void ClientComplianceRequestIOWrite(ClientComplianceRequest const& request);

// Returns whether an entry of any type has the document's path. An entry that can't be examined
// counts as absent.
bool ClientComplianceRequestExists();

// Fills the record from the document, which stays. Returns false, and leaves the record as it was,
// if there is no document or it can't be read as a request.
//
// Accepts more than is ever written: the children in any order, the last of repeated ones, unknown
// ones passed over. A document without a usable type counts as a Progress request. Texts end at
// their first zero byte.
bool ClientComplianceRequestIORead(ClientComplianceRequest& request);

// Removes the document, with retries; an absent one is no error. Throws FileIOError.
void ClientComplianceRequestIORelease();

// Deliberate: true at once, whatever the argument; on this platform nothing waits for a request.
bool ClientComplianceRequestIOWait(unsigned int milliseconds);
