#include "companions/Doctor.h"

#include "companions/DoctorFiles.h"
#include "compliance/AgentPaths.h"

Findings ExamineExchange() {
    FileFacts const request(AgentPaths::request);
    LockState const lock = AskForLock();
    return {CheckAgentProgram(),
            CheckAgentProcess(),
            CheckRequestDirectory(),
            CheckModesOfRequestDirectory(),
            CheckSpace(),
            CheckLock(lock),
            CheckRequest(request, lock),
            CheckTemporaryRequest(),
            CheckResponseDirectory(),
            CheckModesOfResponseDirectory(),
            CheckResponse()};
}
