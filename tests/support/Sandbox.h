// A sandbox for the body of a test: it has an empty /opt and /var/opt, its own processes and
// mounts, and leaves nothing on the host.
//
// The body runs in a forked process, as root of new mount and PID namespaces; for other users than
// root also in a new user namespace. Dozens can run in parallel.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace Sandbox {

enum class Proc {
    // /proc with the processes of the sandbox.
    own,
    // An empty tmpfs, in which a test can create files.
    empty,
    // No /proc.
    none
};

struct Options {
    Proc proc = Proc::own;
    // For the body and all processes that it starts. Then they are killed and the test fails.
    std::chrono::milliseconds limit = std::chrono::seconds(60);
    // More directories with an empty tmpfs, which must exist on the host.
    std::vector<std::string> emptyPlaces = {};
};

// Runs the body and waits for its end. Failed checks in it (or in an OtherProcess that it creates)
// fail the test with their text; so does an exception, a crash, or an early exit. All processes
// that the body has started are killed and reaped at the end.
//
// The body has the descriptors and a copy of the memory of the test, so its changes are lost. Paths
// below /opt, /var/opt and emptyPlaces are hidden from it, also for running programs. Its process
// id is 2; process 1 reaps orphans.
//
// Where namespaces are forbidden, the test is skipped with the reason, or fails if the environment
// variable CI is set. The call should be the last statement of the test then.
//
// REQUIRES: the caller has one thread.
void Run(Options const& options, std::function<void()> const& body);
void Run(std::function<void()> const& body);

// The same, with the agent's directories.
void RunWithDirectories(std::function<void()> const& body, Options const& options = {});

// The functions below are for the body only. They throw a std::runtime_error if they fail.

// "/var/opt/VeskaClient/RequestDir" and "/var/opt/VeskaClient/ResponseDir", with the mode 0777.
void CreateAgentDirectories();

// Copies the program to "/opt/VeskaClient/bin/VeskaClient". The default program waits for as many
// seconds as its argument says; see OtherProgram for how to run it.
void InstallAgent(std::string const& program = "/bin/sleep");
// Installs the default and returns the command that runs it for an hour.
std::vector<std::string> InstallIdleAgent();
constexpr char const* agentProgram = "/opt/VeskaClient/bin/VeskaClient";

// Removes all capabilities of the process and its descendants, for good. If the sandbox has a
// second user (it was created by root), the process becomes that user, 65534. Otherwise the user id
// stays 0 without privileges, so an inaccessible file needs a mode that excludes its owner too
// (0444 for a file, 0555 for a directory).
void DropPrivileges();

} // namespace Sandbox

// A test whose body runs in a sandbox with the agent's directories, and with Options.
#define SANDBOX_TEST(suite, name) SANDBOX_TEST_WITH(suite, name, Sandbox::Options())
#define SANDBOX_TEST_WITH(suite, name, options)                                         \
    static void suite##name##InSandbox();                                               \
    TEST(suite, name) { Sandbox::RunWithDirectories(suite##name##InSandbox, options); } \
    static void suite##name##InSandbox()
