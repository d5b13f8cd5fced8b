#include "compliance/AgentPresence.h"

#include <cstring>

#include <sys/stat.h>

#include "compliance/AgentPaths.h"
#include "compliance/ProcessNames.h"

namespace {

constexpr unsigned int nameCapacity = 1024;

bool HasNameOfAgent(unsigned int process) {
    char name[nameCapacity];
    long long parent = 0;
    long long realUser = 0;
    long long effectiveUser = 0;
    return ProcessIdToName(process, name, nameCapacity, parent, realUser, effectiveUser) &&
           std::strcmp(name, AgentPaths::processName) == 0;
}

} // namespace

int UnixPlatform::IsInstalled() {
    struct stat status;
    return stat(AgentPaths::program, &status) == 0 ? 0 : -1;
}

bool UnixPlatform::IsRunning() { return AnyProcess(HasNameOfAgent); }

bool UnixPlatform::IsConfigured() { return true; }
