// -17: the request can't be written, or not be moved into its place.
//
// A hopeless move, and a hopeless removal, is tried eight times with pauses of 16, 32, ... 1,024
// ms: 2,032 ms in all. How long the tool takes tells how many of these families it went through;
// there is no wait for the agent behind a failure.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "tests/support/PrivateMachine.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/system/Documents.h"
#include "tests/system/RecordLock.h"
#include "tests/system/Tool.h"

namespace {

namespace fs = std::filesystem;
using PrivateMachine::CreateAgentDirectories;
using std::chrono::milliseconds;

constexpr milliseconds retries{2032};
// Less than the first wait for an agent.
constexpr milliseconds tolerance{950};

void ExpectTook(milliseconds expected, milliseconds took) {
    EXPECT_LE(expected.count(), took.count());
    EXPECT_GT((expected + tolerance).count(), took.count());
}

void ExpectFailedOpen(ToolRun const& run, milliseconds pauses) {
    EXPECT_EQ(OpenError(-17), run.output);
    EXPECT_EQ(ExitStatus::Exited(0), run.status);
    ExpectTook(pauses, run.took);
}

// What stands under the name of the request from now on keeps the next tool off.
void ExpectNextIsRefused() { EXPECT_EQ(OpenError(-5), RunTool({"-d"}).output); }

std::string Listing() { return ListDirectory(ScriptedAgent::requestDirectory); }

void SetMode(std::string const& path, mode_t mode) { ASSERT_EQ(0, chmod(path.c_str(), mode)); }

// A user without rights, and a lock file that everybody may write.
void PrepareForEveryone() {
    CreateAgentDirectories();
    WriteBytes(ScriptedAgent::lockFile, "");
    SetMode(ScriptedAgent::lockFile, 0666);
}

TEST(WriteFailureTest, NothingCanBeCreatedBesideTheLockFile) {
    PrivateMachine::Run([] {
        PrepareForEveryone();
        SetMode(ScriptedAgent::requestDirectory, 0555);
        ScriptedAgent agent;
        ExpectFailedOpen(RunToolWithoutRights({"-d"}), retries);
        EXPECT_EQ("lockfile ", Listing());
        // Nothing is in the way of the next one.
        ExpectFailedOpen(RunToolWithoutRights({"-d"}), retries);
    });
}

TEST(WriteFailureTest, LockIsFreeAfterwards) {
    PrivateMachine::Run([] {
        PrepareForEveryone();
        SetMode(ScriptedAgent::requestDirectory, 0555);
        ScriptedAgent agent;
        Tool tool = Tool::WithoutRights({"-d"});
        while (!IsLocked())
            usleep(1000);
        ExpectWholeFileLockedBy(tool.pid());
        tool.Wait();
        EXPECT_FALSE(IsLocked());
    });
}

// Deliberate: what stands in the temporary document is published after a failure.
TEST(WriteFailureTest, OldTemporaryDocumentThatMayNotBeWrittenBecomesTheRequest) {
    PrivateMachine::Run([] {
        PrepareForEveryone();
        WriteBytes(ScriptedAgent::requestTemp, "old");
        SetMode(ScriptedAgent::requestTemp, 0444);
        ScriptedAgent agent;
        ExpectFailedOpen(RunToolWithoutRights({"-d"}), milliseconds(0));
        EXPECT_EQ("old", ReadBytes(ScriptedAgent::request));
        EXPECT_EQ("lockfile request.xml ", Listing());
        ExpectNextIsRefused();
    });
}

// Deliberate: a refused rename counts as done, so there are no pauses, and nothing is removed.
TEST(WriteFailureTest, RefusedMoveOfWhatMayNotBeWrittenCountsAsDone) {
    PrivateMachine::Run([] {
        PrepareForEveryone();
        WriteBytes(ScriptedAgent::requestTemp, "old");
        SetMode(ScriptedAgent::requestTemp, 0444);
        SetMode(ScriptedAgent::requestDirectory, 0555);
        ScriptedAgent agent;
        ExpectFailedOpen(RunToolWithoutRights({"-d"}), milliseconds(0));
        EXPECT_EQ("old", ReadBytes(ScriptedAgent::requestTemp));
        EXPECT_EQ("lockfile requestTemp.xml ", Listing());
    });
}

// Deliberate: the same where the document could be written. The tool takes its request for
// published and, as it is not there at the first look, for taken.
TEST(WriteFailureTest, RequestWhoseRenameIsRefusedCountsAsPublishedAndTaken) {
    PrivateMachine::Run([] {
        PrepareForEveryone();
        WriteBytes(ScriptedAgent::requestTemp, "old");
        SetMode(ScriptedAgent::requestTemp, 0666);
        SetMode(ScriptedAgent::requestDirectory, 0555);
        WriteBytes(ScriptedAgent::response, ProgressAnswer("2", "5"));
        ScriptedAgent agent;
        ToolRun const run = RunToolWithoutRights({"-d"});
        EXPECT_EQ("COMPLIANCE_Progress returned error 5.\n", run.output);
        EXPECT_EQ(ExitStatus::Exited(0), run.status);
        ExpectTook(milliseconds(3000), run.took);
        EXPECT_EQ(closeRequest, ReadBytes(ScriptedAgent::requestTemp));
        EXPECT_EQ("lockfile requestTemp.xml ", Listing());
    });
}

TEST(WriteFailureTest, FullDiskLeavesAnEmptyRequest) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        SmallFileSystem disk(ScriptedAgent::requestDirectory, {.bytes = 65536});
        disk.FillUp();
        ScriptedAgent agent;
        ExpectFailedOpen(RunTool({"-d"}), milliseconds(0));
        EXPECT_EQ("", ReadBytes(ScriptedAgent::request));
        EXPECT_EQ("filler lockfile request.xml ", Listing());
        ExpectNextIsRefused();
    });
}

TEST(WriteFailureTest, DiskThatGetsFullLeavesTheBeginningOfTheRequest) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        SmallFileSystem disk(ScriptedAgent::requestDirectory, {.bytes = 65536});
        std::string const page(4096, 'x');
        WriteBytes(disk / "page", page);
        disk.FillUp();
        fs::remove(disk / "page");
        ScriptedAgent agent;
        ExpectFailedOpen(RunTool({"-c", page, page}), milliseconds(0));
        std::string const left = ReadBytes(ScriptedAgent::request);
        EXPECT_EQ(OpenRequest(page, page, "0").substr(0, 4096), left);
        EXPECT_EQ("filler lockfile request.xml ", Listing());
        ExpectNextIsRefused();
    });
}

TEST(WriteFailureTest, NoRoomForAnotherFile) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        // The root of the file system and the lock file.
        SmallFileSystem disk(ScriptedAgent::requestDirectory, {.inodes = 2});
        WriteBytes(ScriptedAgent::lockFile, "");
        ScriptedAgent agent;
        ExpectFailedOpen(RunTool({"-d"}), retries);
        EXPECT_EQ("lockfile ", Listing());
    });
}

// The disk is full when the evaluation is already open: both later exchanges fail without a word.
TEST(WriteFailureTest, DiskThatIsFullAfterTheOpening) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        SmallFileSystem disk(ScriptedAgent::requestDirectory, {.bytes = 65536});
        ScriptedAgent agent(AgentScript().Answer(OpenAnswer()));
        Tool tool({"-d"});
        agent.AwaitEnd();
        disk.FillUp();
        ToolRun const run = tool.Wait();
        EXPECT_EQ("", run.output);
        EXPECT_EQ(ExitStatus::Exited(0), run.status);
        ExpectTook(milliseconds(1000), run.took);
        EXPECT_EQ("", ReadBytes(ScriptedAgent::request));
        EXPECT_EQ("filler lockfile request.xml ", Listing());
    });
}

// In the way of the temporary document. What can't be opened is moved, whatever it is.

TEST(WriteFailureTest, DirectoryInTheWayOfTheTemporaryDocumentBecomesTheRequest) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        fs::create_directory(ScriptedAgent::requestTemp);
        ScriptedAgent agent;
        ExpectFailedOpen(RunTool({"-d"}), milliseconds(0));
        EXPECT_TRUE(fs::is_directory(ScriptedAgent::request));
        EXPECT_EQ("lockfile request.xml ", Listing());
        ExpectNextIsRefused();
    });
}

TEST(WriteFailureTest, DirectoryInTheWayBecomesTheRequestWithItsContent) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        fs::create_directory(ScriptedAgent::requestTemp);
        WriteBytes(std::string(ScriptedAgent::requestTemp) + "/file", "content");
        ScriptedAgent agent;
        ExpectFailedOpen(RunTool({"-d"}), milliseconds(0));
        EXPECT_EQ("content", ReadBytes(std::string(ScriptedAgent::request) + "/file"));
        ExpectNextIsRefused();
    });
}

TEST(WriteFailureTest, LinkIntoNowhereBecomesTheRequest) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        fs::create_symlink("/nowhere/at/all", ScriptedAgent::requestTemp);
        ScriptedAgent agent;
        ExpectFailedOpen(RunTool({"-d"}), milliseconds(0));
        EXPECT_EQ("/nowhere/at/all", fs::read_symlink(ScriptedAgent::request));
        EXPECT_EQ("lockfile request.xml ", Listing());
        ExpectNextIsRefused();
    });
}

// It opens, but has no positions to write at.
TEST(WriteFailureTest, FifoBecomesTheRequest) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        ASSERT_EQ(0, mkfifo(ScriptedAgent::requestTemp, 0666));
        ScriptedAgent agent;
        ExpectFailedOpen(RunTool({"-d"}), milliseconds(0));
        EXPECT_TRUE(fs::is_fifo(ScriptedAgent::request));
        ExpectNextIsRefused();
    });
}

TEST(WriteFailureTest, SocketBecomesTheRequest) {
    PrivateMachine::Run([] {
        CreateAgentDirectories();
        int const made = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::string(ScriptedAgent::requestTemp).copy(address.sun_path, sizeof address.sun_path - 1);
        ASSERT_EQ(0, bind(made, reinterpret_cast<sockaddr const*>(&address), sizeof address));
        close(made);
        ScriptedAgent agent;
        ExpectFailedOpen(RunTool({"-d"}), milliseconds(0));
        EXPECT_TRUE(fs::is_socket(ScriptedAgent::request));
        ExpectNextIsRefused();
    });
}

// In the way of the request itself, which keeps an opening off but not a poll or a close. The agent
// lays it there in the second of sleep behind a Progress answer.

AgentScript UntilTheSleepBetweenPolls() {
    return AgentScript()
        .Answer(OpenAnswer())
        .Answer(ProgressAnswer("3", "0", "50"))
        .PauseUntil(milliseconds(1400));
}

AgentScript LayInTheWay() {
    return UntilTheSleepBetweenPolls().MakeDirectory(ScriptedAgent::request);
}

// The poll and the close fail, each after these pauses; both without a word.
void ExpectSilentFailures(ToolRun const& run, milliseconds poll, milliseconds close) {
    EXPECT_EQ("COMPLIANCE_Progress 50% completed.\n", run.output);
    EXPECT_EQ(ExitStatus::Exited(0), run.status);
    ExpectTook(milliseconds(3000) + poll + close, run.took);
}

TEST(WriteFailureTest, DirectoryInTheWayOfARequestIsTriedTwiceAndTheTemporaryDocumentRemoved) {
    PrivateMachine::Run([] {
        Evaluation const evaluation = Evaluate(LayInTheWay());
        ExpectSilentFailures(evaluation.tool, 2 * retries, 2 * retries);
        EXPECT_TRUE(fs::is_directory(ScriptedAgent::request));
        EXPECT_EQ("lockfile request.xml ", Listing());
    });
}

// A link without a target is no file that could be replaced.
TEST(WriteFailureTest, LinkIntoNowhereInTheWayOfARequestStays) {
    PrivateMachine::Run([] {
        Evaluation const evaluation = Evaluate(
            UntilTheSleepBetweenPolls().MakeLink("/nowhere/at/all", ScriptedAgent::request));
        ExpectSilentFailures(evaluation.tool, 2 * retries, 2 * retries);
        EXPECT_EQ("/nowhere/at/all", fs::read_symlink(ScriptedAgent::request));
        EXPECT_EQ("lockfile request.xml ", Listing());
    });
}

// One with a target counts as that; what goes is the link.
TEST(WriteFailureTest, LinkToAFileInTheWayOfARequestIsReplaced) {
    PrivateMachine::Run([] {
        WriteBytes("/opt/elsewhere", "content");
        Evaluation const evaluation =
            Evaluate(UntilTheSleepBetweenPolls()
                         .MakeLink("/opt/elsewhere", ScriptedAgent::request)
                         .Answer(ProgressAnswer("2", "5"))
                         .Answer(CloseAnswer()));
        EXPECT_EQ("COMPLIANCE_Progress 50% completed.\n"
                  "COMPLIANCE_Progress returned error 5.\n",
                  evaluation.tool.output);
        EXPECT_EQ("content", ReadBytes("/opt/elsewhere"));
        EXPECT_EQ("lockfile ", Listing());
    });
}

// The temporary document can't be written, and what is there replaces an empty directory. So the
// poll fails at once, and the close meets the directory with a temporary document of its own.
TEST(WriteFailureTest, DirectoryInTheWayOfTheTemporaryDocumentReplacesAnEmptyOne) {
    PrivateMachine::Run([] {
        Evaluation const evaluation =
            Evaluate(LayInTheWay()
                         .MakeDirectory(ScriptedAgent::requestTemp)
                         .MakeDirectory(std::string(ScriptedAgent::requestTemp) + "/inside"));
        ExpectSilentFailures(evaluation.tool, milliseconds(0), 2 * retries);
        EXPECT_TRUE(fs::is_directory(std::string(ScriptedAgent::request) + "/inside"));
        EXPECT_EQ("lockfile request.xml ", Listing());
    });
}

// A directory with content is not replaced. The one beside it is removed, being empty.
TEST(WriteFailureTest, EmptyDirectoryInTheWayOfTheTemporaryDocumentIsRemoved) {
    PrivateMachine::Run([] {
        Evaluation const evaluation =
            Evaluate(LayInTheWay()
                         .MakeDirectory(std::string(ScriptedAgent::request) + "/inside")
                         .MakeDirectory(ScriptedAgent::requestTemp));
        ExpectSilentFailures(evaluation.tool, retries, 2 * retries);
        EXPECT_EQ("lockfile request.xml ", Listing());
    });
}

// Neither moved nor removed: each is tried eight times, and the failure of the removal is the last.
TEST(WriteFailureTest, DirectoriesWithContentInBothPlacesStay) {
    PrivateMachine::Run([] {
        Evaluation const evaluation =
            Evaluate(LayInTheWay()
                         .MakeDirectory(std::string(ScriptedAgent::request) + "/inside")
                         .MakeDirectory(ScriptedAgent::requestTemp)
                         .MakeDirectory(std::string(ScriptedAgent::requestTemp) + "/inside"));
        ExpectSilentFailures(evaluation.tool, 2 * retries, 2 * retries);
        EXPECT_EQ("lockfile request.xml requestTemp.xml ", Listing());
    });
}

TEST(WriteFailureTest, RequestDirectoryThatGoesAwayWhileOpen) {
    PrivateMachine::Run([] {
        std::string const moved = "/var/opt/VeskaClient/Moved";
        CreateAgentDirectories();
        ScriptedAgent agent(
            AgentScript().Answer(OpenAnswer()).Move(ScriptedAgent::requestDirectory, moved));
        Tool tool({"-d"});
        agent.AwaitEnd();
        usleep(1'500'000);
        // The lock is on the file, wherever it is.
        ExpectWholeFileLockedBy(tool.pid(), moved + "/lockfile");
        ToolRun const run = tool.Wait();
        EXPECT_EQ("", run.output);
        EXPECT_EQ(ExitStatus::Exited(0), run.status);
        ExpectTook(milliseconds(1000) + 2 * retries, run.took);
        EXPECT_EQ("Moved ResponseDir ", ListDirectory("/var/opt/VeskaClient"));
        EXPECT_FALSE(IsLocked(moved + "/lockfile"));
    });
}

} // namespace
