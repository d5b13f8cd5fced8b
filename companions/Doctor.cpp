#include "companions/Doctor.h"

#include "companions/DoctorAgent.h"
#include "companions/DoctorDirectories.h"
#include "companions/DoctorDocuments.h"
#include "companions/DoctorLock.h"

Findings ExamineExchange() {
    return {CheckAgentProgram(),
            CheckAgentProcess(),
            CheckRequestDirectory(),
            CheckModesOfRequestDirectory(),
            CheckSpace(),
            CheckLock(),
            CheckRequest(),
            CheckTemporaryRequest(),
            CheckResponseDirectory(),
            CheckModesOfResponseDirectory(),
            CheckResponse()};
}
