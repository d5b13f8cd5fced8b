// Detection of the agent's process, by name and state.
//
// In every test a request is pending: a tool that finds an agent prints -5, and otherwise -2.
#include <sys/prctl.h>
#include <sys/wait.h>

#include "tests/compliance/FakeProcess.h"
#include "tests/stress/TestCases.h"

namespace {

using Sandbox::agentProgram;
using Sandbox::Proc;

std::string const found = OpenError(-5);
std::string const notFound = OpenError(-2);

// Runs the body with an installed agent that does not run, and a pending request.
void InEnvironment(Sandbox::Options const& options, std::function<void()> const& body) {
    Sandbox::RunWithDirectories(
        [&] {
            Sandbox::InstallAgent();
            fs::create_directory("/opt/other");
            WriteBytes(ScriptedAgent::lockFile, "");
            fs::permissions(ScriptedAgent::lockFile, fs::perms(0666));
            WriteBytes(ScriptedAgent::request, "waiting");
            body();
        },
        options);
}

void Expect(std::string const& expected, ToolRun const& run = RunTool({"-d"})) {
    ExpectPrinted(expected, run);
}

void ExpectUnprivileged(std::string const& expected) {
    Expect(expected, RunToolUnprivileged({"-d"}));
}

std::unique_ptr<OtherProgram> Start(std::string const& program) {
    fs::copy_file("/bin/sleep", program, fs::copy_options::overwrite_existing);
    return std::make_unique<OtherProgram>(std::vector<std::string>{program, "1000"});
}

using Names = std::vector<std::string>;

// The name is the last component of the link to the program, if it can be read.
TEST(QuickProcesses, ComparesWholeNameOfReadableProgram) {
    Names const others = {
        "VeskaClien",      "eskaClient",         "VeskaClient2",          "2VeskaClient",
        "veskaclient",     "VESKACLIENT",        "VeskaClient ",          " VeskaClient",
        "(VeskaClient)",   "VeskaClient)",       "VeskaClient (deleted)", "VeskaClient\n",
        "\nVeskaClient",   "Veska\nClient",      "VeskaClient\xe9",       "\xff\xfe",
        "VeskaClient2345", std::string(255, 'V')};
    InEnvironment({}, [&] {
        for (std::string const& name : others) {
            SCOPED_TRACE(name);
            auto const process = Start("/opt/other/" + name);
            Expect(notFound);
        }
        auto const process = Start("/opt/other/VeskaClient");
        Expect(found);
    });
    CountTestCases(others.size() + 1);
}

// A process whose program the tool cannot read, with this command name.
class Stranger {
public:
    explicit Stranger(std::string const& name)
        : process([&](Handshake& line) {
              prctl(PR_SET_NAME, name.c_str());
              prctl(PR_SET_DUMPABLE, 0);
              line.Tell();
              pause();
          }) {
        process.Await();
    }

    // Whether this process can read the link to the program: as root, but not in a user namespace.
    bool IsReadable() const {
        std::error_code error;
        return !fs::read_symlink("/proc/" + std::to_string(process.pid()) + "/exe", error).empty();
    }

private:
    OtherProcess process;
};

// For all other processes, the name is the command name between the first parentheses.
TEST(QuickProcesses, ComparesWholeCommandNameOfUnreadableProgram) {
    // Deliberate: the name ends at the first closing parenthesis. The system keeps 15 bytes of it.
    Names const same = {"VeskaClient", "VeskaClient)", "VeskaClient)xy", "VeskaClient)2345678"};
    Names const others = {"VeskaClien",    "xVeskaClient",    "veskaclient",      "VeskaClient ",
                          "(VeskaClient",  "(VeskaClient)",   ")VeskaClient",     "VeskaClient\n",
                          "Veska\nClient", "\n(VeskaClient)", "VeskaClient\xe9",  "\x80\xff",
                          "a/VeskaClient", "VeskaClient2345", "12345VeskaClient", ""};
    InEnvironment({}, [&] {
        for (std::string const& name : others) {
            SCOPED_TRACE(name);
            Stranger const stranger(name);
            ExpectUnprivileged(notFound);
        }
        for (std::string const& name : same) {
            SCOPED_TRACE(name);
            Stranger const stranger(name);
            ExpectUnprivileged(found);
            // If the link can be read, the program has another name.
            Expect(stranger.IsReadable() ? notFound : found);
        }
    });
    CountTestCases(others.size() + same.size());
}

// Waits until the signal has stopped or ended the process.
void Kill(OtherProgram& process, int signal) {
    process.Kill(signal);
    siginfo_t info{};
    if (signal != 0)
        waitid(P_PID, static_cast<id_t>(process.pid()), &info, WEXITED | WSTOPPED | WNOWAIT);
}

TEST(QuickProcesses, FindsAgentByProgramNameInAnyState) {
    std::size_t states = 0;
    auto const tryState = [&](char const* name, auto const& body) {
        SCOPED_TRACE(name);
        InEnvironment({}, body);
        ++states;
    };
    // Deliberate: a zombie keeps its command name until it is reaped.
    for (auto const& [name, signal] :
         {std::pair("running", 0), {"stopped", SIGSTOP}, {"zombie", SIGKILL}})
        tryState(name, [sent = signal] {
            auto const agent = Start(agentProgram);
            Kill(*agent, sent);
            Expect(found);
            ExpectUnprivileged(found);
        });
    tryState("reaped", [] {
        Start(agentProgram)->Kill(SIGKILL);
        Expect(notFound);
    });
    // Deliberate: the system appends a mark to the link.
    tryState("program removed", [] {
        auto const agent = Start(agentProgram);
        fs::remove(agentProgram);
        Sandbox::InstallAgent();
        Expect(notFound);
    });
    tryState("program renamed", [] {
        auto const agent = Start(agentProgram);
        fs::rename(agentProgram, "/opt/VeskaClient/bin/old");
        Sandbox::InstallAgent();
        Expect(notFound);
    });
    tryState("other program renamed to it", [] {
        auto const other = Start("/opt/other/daemon");
        fs::rename("/opt/other/daemon", "/opt/other/VeskaClient");
        Expect(found);
    });
    tryState("link of the name to another program", [] {
        fs::create_symlink("/bin/sleep", "/opt/other/VeskaClient");
        OtherProgram const other({"/opt/other/VeskaClient", "1000"});
        Expect(notFound);
    });
    tryState("agent by a link of another name", [] {
        fs::create_symlink(agentProgram, "/opt/other/daemon");
        OtherProgram const agent({"/opt/other/daemon", "1000"});
        Expect(found);
        ExpectUnprivileged(notFound);
    });
    tryState("script of the name", [] {
        WriteBytes("/opt/other/VeskaClient", "#!/bin/sh\nread nothing <>/opt/never\n");
        fs::permissions("/opt/other/VeskaClient", fs::perms(0755));
        ASSERT_EQ(0, mkfifo("/opt/never", 0666));
        OtherProgram const script({"/opt/other/VeskaClient"});
        Expect(notFound);
    });
    tryState("thread of the name", [] {
        OtherProcess process([](Handshake& line) {
            std::thread thread([&] {
                prctl(PR_SET_NAME, "VeskaClient");
                prctl(PR_SET_DUMPABLE, 0);
                line.Tell();
                pause();
            });
            thread.join();
        });
        process.Await();
        ExpectUnprivileged(notFound);
    });
    // Deliberate: any process with the agent's name counts, even the tool.
    tryState("the tool under the name", [] {
        fs::copy_file(CC_TOOL_PROGRAM, "/opt/other/VeskaClient");
        EXPECT_EQ(found, RunProgram({"/opt/other/VeskaClient", "-d"}).output);
    });
    tryState("behind 50 others", [] {
        std::vector<std::unique_ptr<OtherProgram>> others;
        for (int i = 0; i < 50; ++i)
            others.push_back(Start("/opt/other/daemon" + std::to_string(i)));
        Expect(notFound);
        auto const agent = Start(agentProgram);
        Expect(found);
    });
    CountTestCases(states);
}

// Variants of /proc.

// Deliberate: an agent that the tool cannot see counts as not running.
TEST(QuickProcesses, DoesNotFindAgentHiddenInProc) {
    // Mode 2 hides the processes of other users, mode 4 those that the reader may not trace.
    for (char const* const mode : {"hidepid=2", "hidepid=4"})
        InEnvironment({}, [mode] {
            SCOPED_TRACE(mode);
            Stranger const agent("VeskaClient");
            ExpectUnprivileged(found);
            ASSERT_EQ(0, mount("proc", "/proc", "proc", 0, mode));
            ExpectUnprivileged(notFound);
        });
}

// The runtime of a sanitizer needs /proc itself.
#ifndef CC_ADDRESS_SANITIZER

TEST(QuickProcesses, FindsNoAgentWithoutProc) {
    for (Proc const proc : {Proc::none, Proc::empty})
        InEnvironment({.proc = proc}, [] {
            auto const agent = Start(agentProgram);
            Expect(notFound);
        });
    CountTestCases(2);
}

// /proc is simulated by files.
TEST(QuickProcesses, HandlesUnusualProcEntries) {
    struct FakeCase {
        char const* name;
        FakeProcess process;
        std::string expected;
    };
    std::vector<FakeCase> const testCases = {
        {"vanished behind the listing", {}, notFound},
        {"vanished behind its link", {.exe = agentProgram}, found},
        {"thread of the kernel", {.stat = "7 (kworker/0:1-events) I", .status = "x"}, notFound},
        {"thread of the kernel with the name", {.stat = "7 (VeskaClient) S 2"}, found},
        {"link of nothing but a slash", {.exe = "/"}, notFound},
        {"program right below the root", {.exe = "/VeskaClient"}, notFound},
        {"link that ends in a slash", {.exe = "a/VeskaClient/"}, notFound},
        {"deleted program", {.exe = "/opt/VeskaClient/bin/VeskaClient (deleted)"}, notFound},
        {"empty stat", {.stat = ""}, notFound},
        {"stat without an end", {.stat = "7 (VeskaClient"}, notFound},
        {"stat of NUL bytes", {.stat = std::string(600, '\0')}, notFound},
        {"stat with the end first", {.stat = "7 ) (VeskaClient)"}, notFound},
        {"stat with a long name", {.stat = "7 (" + std::string(600, 'V') + ") S"}, notFound},
        {"status of garbage", {.exe = agentProgram, .status = "\nPPid:\nUid:\tx"}, found},
    };
    InEnvironment({.proc = Proc::empty}, [&] {
        for (FakeCase const& testCase : testCases) {
            SCOPED_TRACE(testCase.name);
            MakeFakeProcess("7", testCase.process);
            Expect(testCase.expected);
        }
    });
    CountTestCases(testCases.size());
}

#endif

// Processes that appear and disappear while /proc is read: child processes that end immediately,
// one after the other, until this process is killed.
void ComeAndGo(char const* name) {
    prctl(PR_SET_NAME, name);
    signal(SIGCHLD, SIG_IGN);
    for (;;) {
        pid_t const child = fork();
        if (child == 0)
            _exit(0);
        waitpid(child, nullptr, 0);
    }
}

void TryAmongShortLived(int rounds) {
    // A zombie with the agent's command name may or may not be found before it is reaped.
    for (char const* const name : {"other", "VeskaClient"})
        InEnvironment({.limit = std::chrono::minutes(4)}, [=] {
            OtherProcess const others([=] { ComeAndGo(name); });
            for (int round = 0; round < rounds; ++round) {
                ToolRun const run = RunTool({"-d"});
                bool const mayBeFound = name == std::string("VeskaClient");
                Expect(mayBeFound && run.output == found ? found : notFound, run);
            }
        });
    CountTestCases(2 * static_cast<size_t>(rounds));
}

TEST(QuickProcesses, ToleratesProcessesThatEndWhileTheyAreRead) { TryAmongShortLived(10); }

class FullShortLivedProcesses : public testing::TestWithParam<int> {};

TEST_P(FullShortLivedProcesses, AreToleratedWhileTheyAreRead) { TryAmongShortLived(100); }

INSTANTIATE_TEST_SUITE_P(FullTenTimes, FullShortLivedProcesses, testing::Range(0, 10));

} // namespace
