// One exchange with the agent: publish a request, wait until it is taken, read the answer.
//
// There are no sockets and no signals: the agent acknowledges a request by removing request.xml. It
// has published response.xml by then.
#pragma once

struct ClientComplianceRequest;
struct ClientComplianceResponse;

// Runs one exchange. The response is first overwritten with an empty one of the request's type, and
// at success with the agent's.
//
// Returns 0 when an answer was read, otherwise a COMPLIANCE_ERROR_ code: NO_PICKUP, the request was
// not taken in time; BAD_RESPONSE, it was taken but no answer could be read in time; REQUEST_WRITE,
// the request could not be written; EXCHANGE, anything else. No exception leaves it.
//
// Sleeps between 1 and 10 seconds while it waits for the answer. Retries of a failing write come on
// top, up to about 6 seconds; after REQUEST_WRITE they are the only sleep.
//
// Deliberate: any answer is accepted. It holds nothing that ties it to this request, so an answer
// of another type, or one left over from an earlier exchange, can't be recognized.
//
// REQUIRES: the exchange lock is held by the caller.
int ClientComplianceIO(ClientComplianceRequest& request, ClientComplianceResponse& response);
