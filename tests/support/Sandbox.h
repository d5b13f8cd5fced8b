// A machine of its own for the body of a test: it sees an empty /opt and /var/opt, its own
// processes only, and whatever it mounts, and nothing of it is left when the body is done.
//
// The body runs in a forked process, as root of new mount and process namespaces; who is not root
// gets a user namespace with them. Dozens can run at once.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace Sandbox {

enum class Proc {
    // /proc of the machine's own processes.
    own,
    // An empty tmpfs, on which a test can lay out what it likes.
    empty,
    // There is no /proc at all.
    none
};

struct Options {
    Proc proc = Proc::own;
    // For the body and all that it starts; then everything is killed and the test fails.
    std::chrono::milliseconds limit = std::chrono::seconds(60);
    // More places with an empty tmpfs, which must exist as directories outside.
    std::vector<std::string> emptyPlaces = {};
};

// Runs the body and waits for its end. Checks that fail in it (or in an OtherProcess that it makes)
// fail the test, in their words; so does an exception, a crash, or an early exit. Everything that
// the body has started is killed and reaped at the end.
//
// The body has the descriptors and the memory of the test, but what it writes to memory is lost to
// the caller. Paths below /opt, /var/opt and emptyPlaces are hidden from it, also to run programs.
// Its process id is 2; process 1 reaps what is left over.
//
// Where namespaces are forbidden the test is skipped with the reason, or fails if the environment
// variable CI is set; then nothing should stand behind this call but the end of the test.
//
// REQUIRES: the caller has one thread.
void Run(Options const& options, std::function<void()> const& body);
void Run(std::function<void()> const& body);

// The same, and the agent's directories are there.
void RunWithDirectories(std::function<void()> const& body, Options const& options = {});

// The functions below are for the body only. What fails in them is a std::runtime_error.

// "/var/opt/VeskaClient/RequestDir" and "/var/opt/VeskaClient/ResponseDir", with the mode 0777.
void CreateAgentDirectories();

// Puts a program at "/opt/VeskaClient/bin/VeskaClient": a copy of the given one. The default waits
// for as long as its argument says, in seconds; see OtherProgram for how to run it.
void InstallAgent(std::string const& program = "/bin/sleep");
// Installs the default and returns the command that runs it for an hour.
std::vector<std::string> InstallIdleAgent();
constexpr char const* agentProgram = "/opt/VeskaClient/bin/VeskaClient";

// From now on the process and all that it forks or runs have no capability, and no way to get one.
// Where the machine knows a second user (it was made by root) it becomes that one, 65534. Otherwise
// the number stays 0 and only the rights go; so a file that must be out of reach needs permissions
// that shut out its owner too (0444 for a file, 0555 for a directory).
void DropPrivileges();

} // namespace Sandbox

// A test whose body runs in a sandbox with the agent's directories, and with Options.
#define SANDBOX_TEST(suite, name) SANDBOX_TEST_WITH(suite, name, Sandbox::Options())
#define SANDBOX_TEST_WITH(suite, name, options)                                         \
    static void suite##name##InSandbox();                                               \
    TEST(suite, name) { Sandbox::RunWithDirectories(suite##name##InSandbox, options); } \
    static void suite##name##InSandbox()
