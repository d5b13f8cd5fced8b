// One exchange with the agent: publishes a request, waits for the agent to remove it, and reads the
// response.
//
// The agent acknowledges a request by removing request.xml, after it has published response.xml. No
// sockets or signals are used.
#pragma once

struct ClientComplianceRequest;
struct ClientComplianceResponse;

// Runs one exchange. First overwrites `response` with an empty one of the request's type; on
// success, overwrites that with the agent's response.
//
// Returns 0, or one of these COMPLIANCE_ERROR_ codes:
// - NO_PICKUP: the agent did not remove the request in time.
// - BAD_RESPONSE: the agent removed the request, but no response could be read in time.
// - REQUEST_WRITE: the request could not be written.
// - EXCHANGE: any other failure.
//
// Throws nothing. Sleeps between 1 and 10 seconds while waiting for the response. Retries of a
// failed write take up to about 6 more seconds; with REQUEST_WRITE they are the only sleep.
//
// Deliberate: any response is accepted. A response does not identify its request, so a response of
// another type or from an earlier exchange cannot be detected.
//
// REQUIRES: the caller holds the exchange lock.
int ClientComplianceIO(ClientComplianceRequest& request, ClientComplianceResponse& response);
