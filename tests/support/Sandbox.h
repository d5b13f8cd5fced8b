// Runs the body of a test in a sandbox: with an empty /opt and /var/opt, and its own processes and
// mounts. Nothing remains on the host.
//
// The body runs in a forked process, as root of a new mount and PID namespace, with umask 022. If
// the user is not root, the process also has a new user namespace. Dozens of sandboxes can run in
// parallel.
#pragma once

#include <chrono>
#include <filesystem>

#include <gmock/gmock.h>

namespace fs = std::filesystem;

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
    // The timeout for the body. After it, the body and all its processes are killed, and the test
    // fails.
    std::chrono::milliseconds limit = std::chrono::seconds(60);
    // Further directories that are hidden by an empty tmpfs. They must exist on the host.
    std::vector<std::string> emptyPlaces = {};
};

// Runs the body and waits for its end. A failed check in the body, or in an OtherProcess that it
// creates, fails the test with its message. An exception, a crash or an exit of the body fails the
// test, too. At the end, all processes that the body has started are killed and reaped.
//
// The body has the descriptors and a copy of the memory of the test, so its changes of variables
// are lost. Files of the host below /opt, /var/opt and emptyPlaces are hidden, so they cannot be
// executed either. The process ID of the body is 2; process 1 reaps orphans.
//
// Where namespaces are forbidden, the test is skipped with the reason, or fails if the environment
// variable CI is set. Run returns in both cases, so it should be the last statement of the test.
//
// REQUIRES: the caller has one thread.
void Run(Options const& options, std::function<void()> const& body);
void Run(std::function<void()> const& body);

// As Run, after CreateAgentDirectories.
void RunWithDirectories(std::function<void()> const& body, Options const& options = {});

// The functions below are called by the body only. They throw std::runtime_error on failure.

// Creates "/var/opt/VeskaClient/RequestDir" and "/var/opt/VeskaClient/ResponseDir" with mode 0777.
void CreateAgentDirectories();

// Copies the program to `agentProgram`. The default program sleeps for the number of seconds in its
// argument.
void InstallAgent(std::string const& program = "/bin/sleep");
// Installs the default program. Returns the command that runs it for an hour, for OtherProgram.
std::vector<std::string> InstallIdleAgent();
constexpr char const* agentProgram = "/opt/VeskaClient/bin/VeskaClient";

// Removes all capabilities of the process and its descendants permanently. If root runs the tests,
// the process becomes user 65534. Otherwise the sandbox has no second user, and the user ID stays 0
// without privileges: to make a file inaccessible, use a mode that excludes its owner, too (0444
// for a file, 0555 for a directory).
void DropPrivileges();

} // namespace Sandbox

// Define a test whose body runs by RunWithDirectories.
#define SANDBOX_TEST(suite, name) SANDBOX_TEST_WITH(suite, name, Sandbox::Options())
#define SANDBOX_TEST_WITH(suite, name, options)                                         \
    static void suite##name##InSandbox();                                               \
    TEST(suite, name) { Sandbox::RunWithDirectories(suite##name##InSandbox, options); } \
    static void suite##name##InSandbox()
