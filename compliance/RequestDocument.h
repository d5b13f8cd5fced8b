// Reads and writes request.xml, the request from the tool to the agent.
//
// The path is fixed (AgentPaths.h). The document is published by rename while the exchange lock is
// held. The agent acknowledges the request by removing the document. The tool writes the document
// and checks whether it exists; the agent's side reads and removes it. docs/exchange.md specifies
// the format. The agent creates the directory of the document.
#pragma once

struct ClientComplianceRequest;

// Publishes the request: writes requestTemp.xml, flushes it to disk and renames it to request.xml,
// replacing an existing document.
//
// Throws ClientComplianceRequestIOWriteFailure after a failure. The entry at the temporary path is
// then published, even an incomplete document or an entry that is not a file. If it cannot be
// published, it is removed by ForceNonexistence. If the removal throws, its exception is thrown
// instead. Each publication and the removal are retried for up to about two seconds. Throws
// std::bad_alloc if memory is exhausted before the write.
//
// Deliberate: a failed rename(2) is not reported, and the temporary document stays (see MoveFile).
// docs/exchange.md specifies this outcome as a part of the exchange.
void ClientComplianceRequestIOWrite(ClientComplianceRequest const& request);

// True if a directory entry of any type has the document's path. An entry that cannot be examined
// counts as absent. Throws only std::bad_alloc.
bool ClientComplianceRequestExists();

// Reads the document into `request`. Returns false and leaves `request` unchanged if there is no
// document, or if it cannot be read or is not a valid request. Throws only std::bad_alloc.
//
// Children may be in any order. If several have the same name, the last one counts; for types, the
// last known one counts. Unknown children are ignored. A document without a known type is a
// Progress request. URL, document name and flags are ignored except in an Open request. URL and
// document name end at their first NUL. The flags are parsed by strtoul(3) and truncated to 32
// bits; text that is not a number counts as 0.
bool ClientComplianceRequestIORead(ClientComplianceRequest& request);

// Removes the document by ForceNonexistenceWithRetry. Does nothing if there is none. Throws
// FileIOError.
void ClientComplianceRequestIORelease();

// Deliberate: returns true at once. On this platform, nothing waits for a request.
bool ClientComplianceRequestIOWait(unsigned int milliseconds);
