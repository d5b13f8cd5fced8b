#include "compliance/AgentPresence.h"

#include <cstring>

#include <sys/stat.h>

#include "compliance/AgentPaths.h"
#include "compliance/ProcessNames.h"

int UnixPlatform::IsInstalled() {
    struct stat status;
    return stat(AgentPaths::program, &status) == 0 ? 0 : -1;
}

bool UnixPlatform::IsRunning() { return AnyProcess(HasAgentName); }

bool UnixPlatform::HasAgentName(unsigned int processId) {
    constexpr unsigned int nameCapacity = 1024;
    char name[nameCapacity];
    long long parent = 0;
    long long realUser = 0;
    long long effectiveUser = 0;
    return ProcessIdToName(processId, name, nameCapacity, parent, realUser, effectiveUser) &&
           std::strcmp(name, AgentPaths::processName) == 0;
}

bool UnixPlatform::IsConfigured() { return true; }
