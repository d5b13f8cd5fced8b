// Real conditions in whole grids: files cut at every byte, full disks, file systems that may only
// be read or that are others, no descriptors left, and every mode of the two directories. Single
// ones of each kind are in tests/system.
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/PrivateMachine.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/system/Documents.h"
#include "tests/system/RecordLock.h"
#include "tests/system/Tool.h"
#include "tests/torture/Cells.h"
#include "tests/torture/PreloadedProgram.h"

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

constexpr char const* responseDirectory = "/var/opt/VeskaClient/ResponseDir";

std::vector<std::string> DynamicTool(std::string const& url = "url") {
    return {CC_DYNAMIC_TOOL, "-c", url, "doc"};
}

std::string const usualOutput = UsualOutput();

std::string Listing() { return ListDirectory(ScriptedAgent::requestDirectory); }

void ExpectOutput(std::string const& output, ProgramResult const& result) {
    EXPECT_EQ(output, result.output);
    EXPECT_EQ(ExitStatus::Exited(0), result.status);
    EXPECT_EQ("", result.errors);
    EXPECT_FALSE(IsLocked());
}

// What a request that waits makes of the next evaluation.
void ExpectNextIsRefused() { ExpectOutput(OpenError(-5), RunPreloaded(DynamicTool(), {})); }

// Short writes. The four requests of a usual evaluation are cut in turn.

std::vector<std::string> const usualRequests = {OpenRequest("url", "doc", "0"), progressRequest,
                                                progressRequest, closeRequest};

// A write that is short goes on behind the cut, and nobody sees it.
void TryShortWrite(size_t number, size_t offset) {
    PlayedAgent::Reset();
    std::string const cut = std::to_string(number + 1) + ' ' + std::to_string(offset) + " 0";
    ExpectOutput(usualOutput, RunPreloaded(DynamicTool(), {.cutWrites = cut}));
    EXPECT_EQ(usualRequests, PlayedAgent::Seen());
    EXPECT_EQ("lockfile ", Listing());
}

// Deliberate: the bytes in front of the cut are published. A part of a Progress request is replaced
// by the Close request before the agent sees it.
void TryFullDisk(size_t number, size_t offset) {
    PlayedAgent::Reset();
    std::string const cut =
        std::to_string(number + 1) + ' ' + std::to_string(offset) + ' ' + std::to_string(ENOSPC);
    std::string const outputs[] = {OpenError(-17), "", "COMPLIANCE_Progress 50% completed.\n",
                                   usualOutput};
    ExpectOutput(outputs[number], RunPreloaded(DynamicTool(), {.cutWrites = cut}));
    std::vector<std::string> taken(usualRequests.begin(),
                                   usualRequests.begin() + static_cast<std::ptrdiff_t>(number));
    bool const partStays = number == 0 || number == 3;
    if (!partStays)
        taken.emplace_back(closeRequest);
    EXPECT_EQ(taken, PlayedAgent::Seen());
    if (!partStays) {
        EXPECT_EQ("lockfile ", Listing());
        return;
    }
    EXPECT_EQ(usualRequests[number].substr(0, offset), ReadBytes(ScriptedAgent::request));
    EXPECT_EQ("lockfile request.xml ", Listing());
    ExpectNextIsRefused();
}

void CutAt(size_t number, size_t offset) {
    SCOPED_TRACE("request " + std::to_string(number + 1) + " at byte " + std::to_string(offset));
    if (offset != 0)
        TryShortWrite(number, offset);
    TryFullDisk(number, offset);
}

size_t CutEvery(size_t number, size_t first, size_t step) {
    std::string const& request = usualRequests[number];
    PrivateMachine::Run({.limit = std::chrono::minutes(10)}, [&] {
        PlayedAgent const agent(UsualAnswers());
        for (size_t offset = first; offset < request.size() && !testing::Test::HasFailure();
             offset += step)
            CutAt(number, offset);
    });
    return 2 * ((request.size() - first + step - 1) / step);
}

TEST(QuickShortWrites, AtSomeBytesOfEachRequest) {
    size_t cells = 0;
    for (size_t number = 0; number < usualRequests.size(); ++number)
        cells += CutEvery(number, number * 5, 97);
    Torture::CountCells(cells);
}

class FullShortWrites : public testing::TestWithParam<size_t> {};

TEST_P(FullShortWrites, AtEveryByte) { Torture::CountCells(CutEvery(GetParam(), 0, 1)); }

INSTANTIATE_TEST_SUITE_P(FullRequests, FullShortWrites, testing::Range<size_t>(0, 4));

// The same by the limit that the system has for the size of a file, on the shipped program.

class FullPipe {
public:
    FullPipe() {
        if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
            throw std::runtime_error("no pipe");
    }
    ~FullPipe() {
        close(ends[0]);
        close(ends[1]);
    }
    FullPipe(FullPipe const&) = delete;
    FullPipe& operator=(FullPipe const&) = delete;

    // In the new process: the limit is none of the output's.
    bool BecomeOutput() const { return dup2(ends[1], 1) == 1; }
    std::string Read() const {
        char text[4096];
        ssize_t const length = read(ends[0], text, sizeof text);
        return {text, static_cast<size_t>(length > 0 ? length : 0)};
    }

private:
    int ends[2];
};

void TryFileSize(size_t limit, bool isIgnored) {
    SCOPED_TRACE("limit " + std::to_string(limit));
    PlayedAgent::Reset();
    FullPipe const output;
    ProgramResult const result = RunProgram({CC_TOOL_PROGRAM, "-c", "url", "doc"},
                                            {.limits = {{RLIMIT_FSIZE, limit}}, .prepare = [&] {
                                                 signal(SIGXFSZ, isIgnored ? SIG_IGN : SIG_DFL);
                                                 return output.BecomeOutput();
                                             }});
    std::string const part = usualRequests[0].substr(0, limit);
    EXPECT_FALSE(IsLocked());
    if (isIgnored) {
        EXPECT_EQ(ExitStatus::Exited(0), result.status);
        EXPECT_EQ(OpenError(-17), output.Read());
        EXPECT_EQ(part, ReadBytes(ScriptedAgent::request));
        EXPECT_EQ("lockfile request.xml ", Listing());
    } else {
        EXPECT_EQ(ExitStatus::Killed(SIGXFSZ), result.status);
        EXPECT_EQ(part, ReadBytes(ScriptedAgent::requestTemp));
        EXPECT_EQ("lockfile requestTemp.xml ", Listing());
    }
}

size_t TryFileSizes(size_t first, size_t step) {
    size_t const size = usualRequests[0].size();
    PrivateMachine::Run({.limit = std::chrono::minutes(10)}, [=] {
        PlayedAgent const agent({});
        for (size_t limit = first; limit < size && !testing::Test::HasFailure(); limit += step)
            TryFileSize(limit, true);
        TryFileSize(first, false);
    });
    return (size - first + step - 1) / step + 1;
}

TEST(QuickFileSizes, SomeLimits) { Torture::CountCells(TryFileSizes(7, 83)); }

TEST(FullFileSizes, EveryLimit) { Torture::CountCells(TryFileSizes(0, 1)); }

// Full disks.

constexpr size_t page = 4096;

void TryRoom(size_t pages) {
    SCOPED_TRACE(std::to_string(pages) + " pages of room");
    // Four pages and a bit.
    std::string const url(4 * page, 'u');
    std::string const request = OpenRequest(url, "doc", "0");
    PlayedAgent const agent(UsualAnswers());
    PlayedAgent::Reset();
    SmallFileSystem disk(ScriptedAgent::requestDirectory, {.bytes = 16 * page});
    WriteBytes(disk / "room", std::string(pages * page, 'x'));
    disk.FillUp();
    fs::remove(disk / "room");
    ProgramResult const result = RunPreloaded(DynamicTool(url), {});
    if (pages * page >= request.size()) {
        ExpectOutput(usualOutput, result);
        EXPECT_EQ("filler lockfile ", Listing());
        return;
    }
    ExpectOutput(OpenError(-17), result);
    EXPECT_EQ(request.substr(0, pages * page), ReadBytes(ScriptedAgent::request));
    EXPECT_EQ("filler lockfile request.xml ", Listing());
    ExpectNextIsRefused();
}

TEST(QuickFullDisks, WithEachNumberOfPagesOfRoom) {
    PrivateMachine::Run([] {
        for (size_t pages = 0; pages <= 7; ++pages)
            TryRoom(pages);
    });
    Torture::CountCells(8);
}

// One is the root of the file system. The lock file is made first, then the request.
TEST(QuickFullDisks, WithEachNumberOfFilesThatStillFit) {
    PrivateMachine::Run([] {
        for (size_t files = 1; files <= 4; ++files) {
            SCOPED_TRACE(std::to_string(files) + " files");
            PlayedAgent const agent(UsualAnswers());
            PlayedAgent::Reset();
            SmallFileSystem const disk(ScriptedAgent::requestDirectory, {.inodes = files});
            ProgramResult const result = RunPreloaded(DynamicTool(), {});
            std::string const outputs[] = {OpenError(-6), OpenError(-17), usualOutput, usualOutput};
            EXPECT_EQ(outputs[files - 1], result.output);
            EXPECT_EQ(ExitStatus::Exited(0), result.status);
            EXPECT_EQ(files == 1 ? "" : "lockfile ", Listing());
        }
    });
    Torture::CountCells(4);
}

// File systems that may only be read, and files that are on other ones.

void Bind(std::string const& from, std::string const& to) {
    if (mount(from.c_str(), to.c_str(), nullptr, MS_BIND, nullptr) != 0)
        throw std::runtime_error("can't bind " + to);
}

TEST(QuickFileSystems, OnlyTheLockFileMayBeWritten) {
    PrivateMachine::Run([] {
        PlayedAgent const agent(UsualAnswers());
        SmallFileSystem disk(ScriptedAgent::requestDirectory);
        WriteBytes(ScriptedAgent::lockFile, "");
        disk.MakeReadOnly();
        EXPECT_EQ(OpenError(-6), RunPreloaded(DynamicTool(), {}).output);
        WriteBytes("/opt/lockfile", "");
        Bind("/opt/lockfile", ScriptedAgent::lockFile);
        ExpectOutput(OpenError(-17), RunPreloaded(DynamicTool(), {}));
        EXPECT_EQ("lockfile ", Listing());
    });
}

// The agent can't publish there, and takes the requests all the same.
SANDBOX_TEST(QuickFileSystems, OldAnswerOnAFileSystemThatMayOnlyBeReadIsTaken) {
    PlayedAgent const agent(UsualAnswers());
    SmallFileSystem disk(responseDirectory);
    WriteBytes(ScriptedAgent::response, ProgressAnswer("2", "5"));
    disk.MakeReadOnly();
    ExpectOutput("COMPLIANCE_Progress returned error 5.\n", RunPreloaded(DynamicTool(), {}));
    EXPECT_EQ(ProgressAnswer("2", "5"), ReadBytes(ScriptedAgent::response));
    EXPECT_EQ("response.xml ", ListDirectory(responseDirectory));
}

TEST(QuickFileSystems, RequestsAndResponsesOnDifferentOnes) {
    PrivateMachine::Run([] {
        for (char const* const directory : {ScriptedAgent::requestDirectory, responseDirectory}) {
            PlayedAgent const agent(UsualAnswers());
            SmallFileSystem const disk(directory);
            ExpectOutput(usualOutput, RunPreloaded(DynamicTool(), {}));
            EXPECT_EQ("lockfile ", Listing());
        }
    });
    Torture::CountCells(2);
}

// Deliberate: the file of another file system can be written but not be moved. A refused rename
// counts as done, so the request as taken, and there is no answer.
TEST(QuickFileSystems, TemporaryDocumentFromAnotherOneCanNotBeMoved) {
    PrivateMachine::Run([] {
        PlayedAgent const agent(UsualAnswers());
        WriteBytes("/opt/file", "old");
        WriteBytes(ScriptedAgent::requestTemp, "");
        Bind("/opt/file", ScriptedAgent::requestTemp);
        ExpectOutput(OpenError(-7), RunPreloaded(DynamicTool(), {}));
        EXPECT_EQ(usualRequests[0], ReadBytes("/opt/file"));
        EXPECT_EQ("lockfile requestTemp.xml ", Listing());
        // An answer that is there is taken for one to this request.
        WriteBytes(ScriptedAgent::response, ProgressAnswer("2", "5"));
        ExpectOutput("COMPLIANCE_Progress returned error 5.\n", RunPreloaded(DynamicTool(), {}));
        EXPECT_EQ(closeRequest, ReadBytes("/opt/file"));
    });
}

SANDBOX_TEST(QuickFileSystems, RequestFromAnotherOneWaits) {
    PlayedAgent const agent(UsualAnswers());
    WriteBytes("/opt/file", "old");
    WriteBytes(ScriptedAgent::request, "");
    Bind("/opt/file", ScriptedAgent::request);
    ExpectOutput(OpenError(-5), RunPreloaded(DynamicTool(), {}));
    EXPECT_EQ("old", ReadBytes(ScriptedAgent::request));
}

// Directories that are missing.

void TryMissing(bool requests, bool responses, bool program) {
    SCOPED_TRACE(std::string("missing:") + (requests ? " requests" : "") +
                 (responses ? " responses" : "") + (program ? " program" : ""));
    PlayedAgent const agent(UsualAnswers());
    PlayedAgent::Reset();
    if (requests)
        fs::remove_all(ScriptedAgent::requestDirectory);
    if (responses)
        fs::remove_all(responseDirectory);
    if (program)
        fs::remove_all("/opt/VeskaClient");
    std::string output = usualOutput;
    if (responses)
        output = OpenError(-7);
    if (program)
        output = OpenError(-1);
    if (requests)
        output = OpenError(-6);
    ProgramResult const result = RunPreloaded(DynamicTool(), {});
    EXPECT_EQ(output, result.output);
    EXPECT_EQ(ExitStatus::Exited(0), result.status);
    // None is made.
    EXPECT_EQ(requests, !fs::exists(ScriptedAgent::requestDirectory));
    EXPECT_EQ(responses, !fs::exists(responseDirectory));
}

TEST(QuickMissingDirectories, InEveryCombination) {
    PrivateMachine::Run([] {
        for (int which = 0; which < 8; ++which)
            TryMissing((which & 1) != 0, (which & 2) != 0, (which & 4) != 0);
    });
    Torture::CountCells(8);
}

// Rights, for a user who has none but these.

// Not everybody can reach the place where things are built.
std::string CopyForEveryone(std::string const& program) {
    std::string const copy = "/opt/" + fs::path(program).filename().string();
    if (!fs::exists(copy)) {
        fs::copy_file(program, copy);
        fs::permissions(copy, fs::perms(0755));
    }
    return copy;
}

ProgramResult RunWithoutRights() {
    auto command = DynamicTool();
    command[0] = CopyForEveryone(command[0]);
    ProgramOptions options = PreloadedOptions({});
    options.environment->push_back("LD_PRELOAD=" + CopyForEveryone(CC_FAILING_CALLS));
    options.environment->erase(options.environment->begin());
    options.prepare = [] {
        PrivateMachine::DropPrivileges();
        return true;
    };
    return RunProgram(command, options);
}

// The same for owner, group and others, whoever the user is.
void SetModeForAll(std::string const& path, unsigned int bits) {
    ASSERT_EQ(0, chmod(path.c_str(), bits << 6 | bits << 3 | bits));
}

constexpr unsigned int mayRead = 4;
constexpr unsigned int mayWrite = 2;
constexpr unsigned int mayEnter = 1;
constexpr int notThere = -1;

void TryRightsToRequests(unsigned int directory, int lockFile) {
    SCOPED_TRACE("directory " + std::to_string(directory) + ", lock file " +
                 std::to_string(lockFile));
    SetModeForAll(ScriptedAgent::requestDirectory, 7);
    PlayedAgent::Reset();
    if (lockFile != notThere) {
        WriteBytes(ScriptedAgent::lockFile, "");
        SetModeForAll(ScriptedAgent::lockFile, static_cast<unsigned int>(lockFile));
    }
    SetModeForAll(ScriptedAgent::requestDirectory, directory);
    bool const canEnter = (directory & mayEnter) != 0;
    bool const canCreate = canEnter && (directory & mayWrite) != 0;
    bool const canLock =
        lockFile == notThere ? canCreate : canEnter && lockFile == (mayRead | mayWrite);
    ProgramResult const result = RunWithoutRights();
    EXPECT_EQ(!canLock ? OpenError(-6) : !canCreate ? OpenError(-17) : usualOutput, result.output);
    EXPECT_EQ(ExitStatus::Exited(0), result.status);
    EXPECT_EQ("", result.errors);
    EXPECT_EQ(lockFile != notThere || canLock ? "lockfile " : "", Listing());
}

TEST(QuickRights, EveryModeOfTheRequestDirectoryAndOfTheLockFile) {
    PrivateMachine::Run([] {
        PlayedAgent const agent(UsualAnswers());
        for (unsigned int directory = 0; directory <= 7; ++directory)
            for (int const lockFile : {notThere, 0, 2, 4, 6})
                TryRightsToRequests(directory, lockFile);
    });
    Torture::CountCells(40);
}

// The agent is played with the same rights: where it can't publish, the old answer counts.
void TryRightsToResponses(unsigned int directory, unsigned int response) {
    SCOPED_TRACE("directory " + std::to_string(directory) + ", response " +
                 std::to_string(response));
    SetModeForAll(responseDirectory, 7);
    PlayedAgent::Reset();
    WriteBytes(ScriptedAgent::response, ProgressAnswer("2", "5"));
    SetModeForAll(ScriptedAgent::response, response);
    SetModeForAll(responseDirectory, directory);
    bool const canEnter = (directory & mayEnter) != 0;
    bool const canPublish = canEnter && (directory & mayWrite) != 0;
    bool const canRead = canEnter && (response & mayRead) != 0;
    ProgramResult const result = RunWithoutRights();
    EXPECT_EQ(canPublish ? usualOutput
              : canRead  ? "COMPLIANCE_Progress returned error 5.\n"
                         : OpenError(-7),
              result.output);
    EXPECT_EQ(ExitStatus::Exited(0), result.status);
    EXPECT_EQ("", result.errors);
    EXPECT_EQ("lockfile ", Listing());
}

TEST(QuickRights, EveryModeOfTheResponseDirectoryAndOfTheResponse) {
    PrivateMachine::Run([] {
        PlayedAgent const agent(UsualAnswers());
        for (unsigned int directory = 0; directory <= 7; ++directory)
            for (unsigned int const response : {0U, 2U, 4U, 6U})
                TryRightsToResponses(directory, response);
    });
    Torture::CountCells(32);
}

AgentScript PutBackBetweenPolls(std::string const& bytes) {
    return AgentScript()
        .Answer(OpenAnswer())
        .Answer(ProgressAnswer("3", "0", "50"))
        .PauseUntil(milliseconds(1400))
        .PutRequest(bytes);
}

// In a directory where everybody may remove only what is his, the request of another stays. Each
// exchange tries twice to replace it, and removes its temporary document.
TEST(FullRights, RequestOfAnotherThatMayNotBeRemovedStays) {
    PrivateMachine::Run([] {
        PrivateMachine::CreateAgentDirectories();
        ASSERT_EQ(0, chmod(ScriptedAgent::requestDirectory, 01777));
        ScriptedAgent const agent(PutBackBetweenPolls("foreign"));
        if (ReadBytes("/proc/self/uid_map").find("4294967295") == std::string::npos)
            GTEST_SKIP() << "This machine knows one user only.";
        ToolRun const run = RunToolWithoutRights({"-d"});
        EXPECT_EQ("COMPLIANCE_Progress 50% completed.\n", run.output);
        EXPECT_EQ(ExitStatus::Exited(0), run.status);
        EXPECT_LE(3000 + 4 * 2032, run.took.count());
        EXPECT_EQ("foreign", ReadBytes(ScriptedAgent::request));
        EXPECT_EQ("lockfile request.xml ", Listing());
    });
}

// No descriptors left. The lock file takes the first one, the walk through /proc the next; where
// the link to a program may be read that is all, else the name takes one more. The request and the
// response use those of the walk.

#ifndef CC_ADDRESS_SANITIZER // Starts the shipped program, which needs none to be loaded.

constexpr int forTheLock = 4;
constexpr int forTheWalk = 5;

Evaluation EvaluateWithDescriptors(rlim_t limit, bool withRights) {
    PrivateMachine::CreateAgentDirectories();
    ScriptedAgent const agent(
        AgentScript().Answer(OpenAnswer()).Answer(ProgressAnswer("2", "5")).Answer(CloseAnswer()));
    std::string const program = CopyForEveryone(CC_TOOL_PROGRAM);
    ProgramResult const result = RunProgram({program, "-c", "url", "doc"},
                                            {.limits = {{RLIMIT_NOFILE, limit}}, .prepare = [=] {
                                                 if (!withRights)
                                                     PrivateMachine::DropPrivileges();
                                                 return true;
                                             }});
    EXPECT_EQ("", result.errors);
    return {{result.status, result.output, {}}, agent.Requests()};
}

void TryDescriptors(int limit, bool withRights) {
    PrivateMachine::Run([=] {
        SCOPED_TRACE(std::to_string(limit) + " descriptors");
        Evaluation const run = EvaluateWithDescriptors(static_cast<rlim_t>(limit), withRights);
        int const forTheProbe = withRights ? forTheWalk : forTheWalk + 1;
        EXPECT_EQ(limit < forTheLock    ? OpenError(-6)
                  : limit < forTheProbe ? OpenError(-2)
                                        : "COMPLIANCE_Progress returned error 5.\n",
                  run.tool.output);
        EXPECT_EQ(ExitStatus::Exited(0), run.tool.status);
        EXPECT_EQ(limit < forTheProbe ? 0u : 3u, run.requests.size());
        EXPECT_EQ(limit < forTheLock ? "" : "lockfile ", Listing());
    });
}

TEST(QuickDescriptors, TooFewForTheLockOrForTheWalk) {
    for (int limit = 0; limit < forTheWalk; ++limit)
        TryDescriptors(limit, true);
    TryDescriptors(forTheWalk, false);
    Torture::CountCells(6);
}

class FullDescriptors : public testing::TestWithParam<std::tuple<int, bool>> {};

TEST_P(FullDescriptors, GiveTheStatedOutcome) {
    TryDescriptors(std::get<int>(GetParam()), std::get<bool>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(FullLimits, FullDescriptors,
                         testing::Combine(testing::Range(0, 17), testing::Bool()),
                         [](auto const& test) {
                             return std::to_string(std::get<int>(test.param)) +
                                    (std::get<bool>(test.param) ? "WithRights" : "WithoutRights");
                         });

#endif

} // namespace
