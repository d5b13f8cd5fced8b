// One exchange with the agent: publishes a request, waits for the agent to remove it, and reads the
// response.
//
// The agent acknowledges a request by removing request.xml, after it has published response.xml. No
// sockets or signals are used.
#pragma once

struct ClientComplianceRequest;
struct ClientComplianceResponse;

// Sends `request` to the agent and stores the response in `response`. After a failure, `response`
// is empty and has the type of the request. Throws nothing.
//
// Returns 0, or one of these COMPLIANCE_ERROR_ codes:
// - NO_PICKUP: the agent did not remove the request within 10 seconds.
// - BAD_RESPONSE: the agent removed the request, but no response could be read within 10 seconds.
// - REQUEST_WRITE: the request could not be written or published.
// - EXCHANGE: any other failure.
//
// Sleeps between 1 and 10 seconds while waiting for the response. Failed renames and removals are
// retried for up to about 6 more seconds; with REQUEST_WRITE these are the only sleeps.
//
// Deliberate: any response is accepted. A response does not identify its request, so a response of
// another type or from an earlier exchange cannot be detected.
//
// REQUIRES: the caller holds the exchange lock.
int ClientComplianceIO(ClientComplianceRequest& request, ClientComplianceResponse& response);
