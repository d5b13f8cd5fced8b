#include "compliance/ExchangeLoop.h"

#include <algorithm>

#include "compliance/ClientCompliance.h"
#include "compliance/Compliance.h"
#include "compliance/RequestDocument.h"
#include "compliance/ResponseDocument.h"
#include "files/MilliSecondSleep.h"

namespace {

// The schedule of the wait, in milliseconds. Each sleep is twice as long as the one before, and the
// last one ends at the limit: 1,000, 2,000, 4,000 and 3,000. After each sleep, the exchange checks
// for a response: about 1, 3, 7 and 10 seconds after the request was published.
constexpr unsigned int firstSleep = 1000;
constexpr unsigned int maxWait = 10000;

bool Publish(ClientComplianceRequest const& request) {
    try {
        ClientComplianceRequestIOWrite(request);
        return true;
    } catch (...) {
        return false;
    }
}

// All failures have the same meaning: there is no response yet, and the next check may find one.
bool ReadAnswer(ClientComplianceResponse& response) {
    try {
        response = ClientComplianceResponseIORead();
        return true;
    } catch (...) {
        return false;
    }
}

// Waits for the response. Returns 0, or the error code of the timeout.
int AwaitAnswer(ClientComplianceResponse& response) {
    unsigned int waited = 0;
    unsigned int step = firstSleep;
    bool readFailed = false;
    while (waited < maxWait) {
        unsigned int const sleep = std::min(step, maxWait - waited);
        MilliSecondSleep(sleep);
        waited += sleep;
        step *= 2;
        if (ClientComplianceRequestExists())
            continue;
        if (ReadAnswer(response))
            return 0;
        readFailed = true;
    }
    return readFailed ? COMPLIANCE_ERROR_BAD_RESPONSE : COMPLIANCE_ERROR_NO_PICKUP;
}

} // namespace

int ClientComplianceIO(ClientComplianceRequest& request, ClientComplianceResponse& response) {
    try {
        response = ClientComplianceResponse(request.type);
        if (!Publish(request))
            return COMPLIANCE_ERROR_REQUEST_WRITE;
        return AwaitAnswer(response);
    } catch (...) {
        return COMPLIANCE_ERROR_EXCHANGE;
    }
}
