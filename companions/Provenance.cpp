#include "companions/Provenance.h"

#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "companions/QueryCommandLine.h"
#include "companions/Timestamp.h"
#include "compliance/AgentPaths.h"

namespace {

char const* TextOrNull(std::optional<std::string> const& text) {
    return text ? text->c_str() : nullptr;
}

std::string HostName() {
    utsname names{};
    return uname(&names) == 0 ? names.nodename : "";
}

std::optional<timespec> ModificationTimeOfAgent() {
    struct stat facts {};
    if (stat(AgentPaths::program, &facts) != 0)
        return {};
    return facts.st_mtim;
}

} // namespace

ProvenanceRecorder::ProvenanceRecorder(QueryCommandLine const& commandLine)
    : known{TextOrNull(commandLine.url),
            TextOrNull(commandLine.document),
            commandLine.flags,
            HostName(),
            geteuid(),
            CurrentTime()} {}

Provenance ProvenanceRecorder::Finish(ResponseState const& response, bool stale) const {
    Provenance all = known;
    all.end = CurrentTime();
    all.duration = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - start);
    all.response = response;
    all.stale = stale;
    all.agentModified = ModificationTimeOfAgent();
    return all;
}
