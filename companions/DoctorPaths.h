// The places that compliance-doctor looks at. docs/exchange.md tells what they are for.
#pragma once

namespace DoctorPaths {

constexpr char agentProgram[] = "/opt/VeskaClient/bin/VeskaClient";
constexpr char agentName[] = "VeskaClient";
constexpr char requestDirectory[] = "/var/opt/VeskaClient/RequestDir";
constexpr char responseDirectory[] = "/var/opt/VeskaClient/ResponseDir";
constexpr char lockFile[] = "/var/opt/VeskaClient/RequestDir/lockfile";
constexpr char request[] = "/var/opt/VeskaClient/RequestDir/request.xml";
constexpr char temporaryRequest[] = "/var/opt/VeskaClient/RequestDir/requestTemp.xml";
constexpr char response[] = "/var/opt/VeskaClient/ResponseDir/response.xml";

} // namespace DoctorPaths
