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
// - BAD_RESPONSE: the request is gone, but no response could be read within 10 seconds. The agent
//   removed the request, rename(2) failed for it, or its directory was removed or cannot be
//   searched.
// - REQUEST_WRITE: the request could not be written or published.
// - EXCHANGE: any other failure.
//
// Sleeps between 1 and 10 seconds while waiting for the response, less after a signal. Before that,
// sleeps for up to about 2 seconds between attempts to publish the request. With REQUEST_WRITE,
// these sleeps take up to about 6 seconds and are the only ones.
//
// Deliberate: a response of any known type is accepted, even if the type is not that of the
// request. A response does not identify its request, so a response from an earlier exchange cannot
// be detected.
//
// REQUIRES: the caller holds the exchange lock.
int ClientComplianceIO(ClientComplianceRequest& request, ClientComplianceResponse& response);
