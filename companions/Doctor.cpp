#include "companions/Doctor.h"

#include "companions/DoctorAgent.h"
#include "companions/DoctorDirectories.h"
#include "companions/DoctorDocuments.h"
#include "companions/DoctorFiles.h"
#include "companions/DoctorLock.h"
#include "companions/DoctorPaths.h"

Findings ExamineExchange() {
    FileFacts const request(DoctorPaths::request);
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
