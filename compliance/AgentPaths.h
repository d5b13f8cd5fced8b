// The paths and the process name of the agent. docs/exchange.md describes their use.
#pragma once

#include <string_view>

namespace AgentPaths {

constexpr char program[] = "/opt/VeskaClient/bin/VeskaClient";
// The name that identifies the agent's process (see ProcessNames.h).
constexpr char processName[] = "VeskaClient";

constexpr char requestDirectory[] = "/var/opt/VeskaClient/RequestDir";
constexpr char lockFile[] = "/var/opt/VeskaClient/RequestDir/lockfile";
constexpr char request[] = "/var/opt/VeskaClient/RequestDir/request.xml";
constexpr char temporaryRequest[] = "/var/opt/VeskaClient/RequestDir/requestTemp.xml";

constexpr char responseDirectory[] = "/var/opt/VeskaClient/ResponseDir";
constexpr char response[] = "/var/opt/VeskaClient/ResponseDir/response.xml";
constexpr char temporaryResponse[] = "/var/opt/VeskaClient/ResponseDir/responseTemp.xml";

// Returns the last component of an absolute path.
constexpr char const* NameIn(char const* path) {
    return path + std::string_view(path).rfind('/') + 1;
}

} // namespace AgentPaths
