// Missing directories, every mode of the two directories and of the files in them, and too few file
// descriptors.
#include "tests/stress/PreloadedProgram.h"
#include "tests/stress/TestCases.h"

namespace {

void TryMissing(bool requests, bool responses, bool program) {
    SCOPED_TRACE(std::string("missing:") + (requests ? " requests" : "") +
                 (responses ? " responses" : "") + (program ? " program" : ""));
    PlayedAgent const agent(UsualResponses());
    PlayedAgent::Reset();
    if (requests)
        fs::remove_all(ScriptedAgent::requestDirectory);
    if (responses)
        fs::remove_all(responseDirectory);
    if (program)
        fs::remove_all("/opt/VeskaClient");
    ExpectPrinted(requests    ? OpenError(-6)
                  : program   ? OpenError(-1)
                  : responses ? OpenError(-7)
                              : UsualOutput(),
                  RunPreloaded(DynamicTool(), {}));
    // Missing directories are not created.
    EXPECT_EQ(requests, !fs::exists(ScriptedAgent::requestDirectory));
    EXPECT_EQ(responses, !fs::exists(responseDirectory));
}

TEST(QuickMissingDirectories, EachCombinationHasItsErrorCode) {
    Sandbox::Run([] {
        for (int which = 0; which < 8; ++which)
            TryMissing((which & 1) != 0, (which & 2) != 0, (which & 4) != 0);
    });
    CountTestCases(8);
}

// Permissions, for a user without privileges.

ProgramResult RunUnprivileged() {
    auto command = DynamicTool();
    command[0] = AccessibleCopy(command[0]);
    return RunProgram(command, Unprivileged(PreloadedOptions({})));
}

// The same for owner, group and others, so the user does not matter.
void SetModeForAll(std::string const& path, unsigned int bits) {
    ASSERT_EQ(0, chmod(path.c_str(), bits << 6 | bits << 3 | bits));
}

constexpr unsigned int mayRead = 4;
constexpr unsigned int mayWrite = 2;
constexpr unsigned int mayEnter = 1;
constexpr int missing = -1;

void TryPermissionsOfRequests(unsigned int directory, int lockFile) {
    SCOPED_TRACE("directory " + std::to_string(directory) + ", lock file " +
                 std::to_string(lockFile));
    SetModeForAll(ScriptedAgent::requestDirectory, 7);
    PlayedAgent::Reset();
    if (lockFile != missing) {
        WriteBytes(ScriptedAgent::lockFile, "");
        SetModeForAll(ScriptedAgent::lockFile, static_cast<unsigned int>(lockFile));
    }
    SetModeForAll(ScriptedAgent::requestDirectory, directory);
    bool const canEnter = (directory & mayEnter) != 0;
    bool const canCreate = canEnter && (directory & mayWrite) != 0;
    bool const canLock =
        lockFile == missing ? canCreate : canEnter && lockFile == (mayRead | mayWrite);
    ExpectPrinted(!canLock     ? OpenError(-6)
                  : !canCreate ? OpenError(-17)
                               : UsualOutput(),
                  RunUnprivileged());
    EXPECT_EQ(lockFile != missing || canLock ? "lockfile " : "", Requests());
}

TEST(QuickPermissions, EachModeOfRequestDirectoryAndLockFileHasItsCode) {
    Sandbox::Run([] {
        PlayedAgent const agent(UsualResponses());
        for (unsigned int directory = 0; directory <= 7; ++directory)
            for (int const lockFile : {missing, 0, 2, 4, 6})
                TryPermissionsOfRequests(directory, lockFile);
    });
    CountTestCases(40);
}

// The agent has the same permissions: if it cannot publish, the old response is read.
void TryPermissionsOfResponses(unsigned int directory, unsigned int response) {
    SCOPED_TRACE("directory " + std::to_string(directory) + ", response " +
                 std::to_string(response));
    SetModeForAll(responseDirectory, 7);
    PlayedAgent::Reset();
    WriteBytes(ScriptedAgent::response, ProgressResponse("2", "5"));
    SetModeForAll(ScriptedAgent::response, response);
    SetModeForAll(responseDirectory, directory);
    bool const canEnter = (directory & mayEnter) != 0;
    bool const canPublish = canEnter && (directory & mayWrite) != 0;
    bool const canRead = canEnter && (response & mayRead) != 0;
    ExpectPrinted(canPublish ? UsualOutput()
                  : canRead  ? PrintedError("5")
                             : OpenError(-7),
                  RunUnprivileged());
    EXPECT_EQ("lockfile ", Requests());
}

TEST(QuickPermissions, EachModeOfResponseDirectoryAndFileHasItsCode) {
    Sandbox::Run([] {
        PlayedAgent const agent(UsualResponses());
        for (unsigned int directory = 0; directory <= 7; ++directory)
            for (unsigned int const response : {0U, 2U, 4U, 6U})
                TryPermissionsOfResponses(directory, response);
    });
    CountTestCases(32);
}

// In a sticky directory the request of another user remains. Each exchange tries twice to replace
// it, and removes its temporary document.
SANDBOX_TEST(FullPermissions, KeepsRequestOfAnotherUserInStickyDirectory) {
    ASSERT_EQ(0, chmod(ScriptedAgent::requestDirectory, 01777));
    ScriptedAgent const agent(AgentScript()
                                  .Answer(OpenResponse())
                                  .Answer(ProgressResponse("3", "0", "50"))
                                  .PauseUntil(std::chrono::milliseconds(1400))
                                  .PutRequest("foreign"));
    if (ReadBytes("/proc/self/uid_map").find("4294967295") == std::string::npos)
        GTEST_SKIP() << "this sandbox has no second user";
    ToolRun const run = RunToolUnprivileged({"-d"});
    ExpectPrinted(PrintedPercent("50"), run);
    EXPECT_LE(3000 + 4 * 2032, run.took.count());
    EXPECT_EQ("foreign", ReadBytes(ScriptedAgent::request));
    EXPECT_EQ("lockfile request.xml ", Requests());
}

// No file descriptors left. The lock file takes the first one, and reading /proc the next. That
// suffices if the link to a program can be read; otherwise its command name needs one more. The
// request and the response reuse these.

#ifndef CC_ADDRESS_SANITIZER // Starts the shipped program, which needs none to be loaded.

constexpr int forLock = 4;
constexpr int forProc = 5;

void TryDescriptors(int limit, bool privileged) {
    Sandbox::RunWithDirectories([=] {
        SCOPED_TRACE(std::to_string(limit) + " descriptors");
        ScriptedAgent const agent(WholeEvaluation({ProgressResponse("2", "5")}));
        std::string const program = AccessibleCopy(CC_TOOL_PROGRAM);
        ProgramOptions const options{.limits = {{RLIMIT_NOFILE, static_cast<rlim_t>(limit)}}};
        int const forAgentSearch = privileged ? forProc : forProc + 1;
        ExpectPrinted(limit < forLock          ? OpenError(-6)
                      : limit < forAgentSearch ? OpenError(-2)
                                               : PrintedError("5"),
                      RunProgram({program, "-c", "url", "doc"},
                                 privileged ? options : Unprivileged(options)));
        EXPECT_EQ(limit < forAgentSearch ? 0u : 3u, agent.Requests().size());
        EXPECT_EQ(limit < forLock ? "" : "lockfile ", Requests());
    });
}

TEST(QuickDescriptors, TooFewForLockResultInMinus6AndForProcInMinus2) {
    for (int limit = 0; limit < forProc; ++limit)
        TryDescriptors(limit, true);
    TryDescriptors(forProc, false);
    CountTestCases(6);
}

class FullDescriptors : public testing::TestWithParam<std::tuple<int, bool>> {};

TEST_P(FullDescriptors, GiveTheDocumentedResult) { std::apply(TryDescriptors, GetParam()); }

INSTANTIATE_TEST_SUITE_P(FullLimits, FullDescriptors,
                         testing::Combine(testing::Range(0, 17), testing::Bool()),
                         [](auto const& test) {
                             return std::to_string(std::get<int>(test.param)) +
                                    (std::get<bool>(test.param) ? "Privileged" : "Unprivileged");
                         });

#endif

} // namespace
