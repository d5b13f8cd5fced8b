#include "compliance/Compliance.h"

#include "compliance/AgentPresence.h"
#include "compliance/ClientComplianceLock.h"
#include "compliance/ComplianceState.h"
#include "compliance/ExchangeLoop.h"
#include "compliance/RequestDocument.h"

constinit bool iOwnLock = false;
constinit bool iHaveResponse = false;
constinit ClientComplianceResponse iResponse(ClientComplianceProgress);

namespace {

void ReleaseLock() {
    iOwnLock = false;
    ClientComplianceLock::The().Unlock();
}

// Returns 0 if an exchange can begin, otherwise the code of the first check that fails. A positive
// result of IsInstalled, which this platform never returns, skips the other checks.
int CheckAgent() {
    int const installed = UnixPlatform::IsInstalled();
    if (installed != 0)
        return installed < 0 ? installed : 0;
    if (!UnixPlatform::IsRunning())
        return COMPLIANCE_ERROR_NOT_RUNNING;
    if (!UnixPlatform::IsConfigured())
        return COMPLIANCE_ERROR_NOT_CONFIGURED;
    if (ClientComplianceRequestExists())
        return COMPLIANCE_ERROR_REQUEST_PENDING;
    return 0;
}

// Requests the progress from the agent and stores its response in iResponse. Returns 0 or an error
// code.
int ExchangeProgress() {
    try {
        ClientComplianceRequest request = CreateComplianceRequestProgress();
        iResponse.Reset();
        iHaveResponse = false;
        return ClientComplianceIO(request, iResponse);
    } catch (...) {
        return COMPLIANCE_ERROR_INTERNAL;
    }
}

int ExchangeClose() {
    try {
        ClientComplianceRequest request = CreateComplianceRequestClose();
        ClientComplianceResponse response(ClientComplianceClose);
        return ClientComplianceIO(request, response);
    } catch (...) {
        return COMPLIANCE_ERROR_INTERNAL;
    }
}

} // namespace

int COMPLIANCE_Open(char const* url, char const* doc, unsigned int flags) {
    if (iOwnLock)
        return COMPLIANCE_ERROR_ALREADY_OPEN;
    if (!ClientComplianceLock::The().Lock())
        return COMPLIANCE_ERROR_LOCK;
    iOwnLock = true;
    iHaveResponse = false;

    ClientComplianceRequest request = CreateComplianceRequestOpen(url, doc, flags);
    ClientComplianceResponse response(ClientComplianceOpen);
    int code = CheckAgent();
    if (code == 0)
        code = ClientComplianceIO(request, response);
    if (code < 0)
        ReleaseLock();
    return code;
}

int COMPLIANCE_Progress(int* percent, int* error) {
    if (!iOwnLock)
        return COMPLIANCE_ERROR_LOCK;
    if (iHaveResponse)
        return ClientComplianceStateFinished;
    int const code = ExchangeProgress();
    if (code != 0)
        return code;

    switch (iResponse.state) {
    case ClientComplianceStateError:
        *error = iResponse.error;
        return iResponse.state;
    case ClientComplianceStateInProgress:
        *percent = iResponse.percent;
        return iResponse.state;
    case ClientComplianceStateFinished:
        iHaveResponse = true;
        return iResponse.state;
    default:
        return COMPLIANCE_ERROR_BAD_RESPONSE;
    }
}

int COMPLIANCE_ResultCount(void) {
    if (!iHaveResponse)
        return COMPLIANCE_ERROR_NO_RESULTS;
    return static_cast<int>(iResponse.GetComplianceCount());
}

int COMPLIANCE_IndexedValue(unsigned int index, char const** designator, char const** result,
                            char const** resultType, char const** evaluationTime,
                            char const** description, char const** comment) {
    if (!iHaveResponse)
        return COMPLIANCE_ERROR_NO_RESULTS;
    if (index >= iResponse.GetComplianceCount())
        return COMPLIANCE_ERROR_BAD_INDEX;
    ClientComplianceResponseItem const& item = iResponse[index];
    *designator = item.designator.c_str();
    *result = item.result.c_str();
    *resultType = item.resultType.c_str();
    *evaluationTime = item.evaluationTime.c_str();
    *description = item.description.c_str();
    *comment = item.comment.c_str();
    return 0;
}

int COMPLIANCE_Close(void) {
    if (!iOwnLock)
        return COMPLIANCE_ERROR_LOCK;
    int const code = ExchangeClose();
    ClientComplianceLock::The().Unlock();
    iOwnLock = false;
    iHaveResponse = false;
    iResponse.Reset();
    return code;
}
