#include "companions/Doctor.h"

#include <chrono>
#include <filesystem>
#include <thread>

#include "tests/companions/Findings.h"
#include "tests/compliance/FakeProcess.h"
#include "tests/files/Files.h"

namespace {

namespace fs = std::filesystem;
using Sandbox::agentProgram;
using Sandbox::InstallAgent;
using Sandbox::Proc;

void ExpectProcess(OtherProgram const& program, Finding const& finding) {
    EXPECT_EQ(std::optional<long>(program.pid()), finding.processId);
    EXPECT_NE(std::string::npos,
              finding.message.find("process " + std::to_string(program.pid()) + " "))
        << finding.message;
}

void AwaitZombie(pid_t process) {
    std::string const file = "/proc/" + std::to_string(process) + "/stat";
    while (ReadWholeFile(file).find(") Z ") == std::string::npos)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

TEST(DoctorAgentTest, AcceptsInstalledProgram) {
    Sandbox::Run([] {
        InstallAgent();
        ExpectOk(agentProgram, CheckAgentProgram());
    });
}

TEST(DoctorAgentTest, ReportsMissingProgram) {
    Sandbox::Run([] {
        ExpectProblem("agent-missing", agentProgram, CheckAgentProgram());
        fs::create_directories("/opt/VeskaClient/bin");
        fs::create_symlink("nothing", agentProgram);
        ExpectProblem("agent-missing", agentProgram, CheckAgentProgram());
    });
}

TEST(DoctorAgentTest, ReportsEntryThatIsNotAProgram) {
    Sandbox::Run([] {
        fs::create_directories(agentProgram);
        ExpectProblem("agent-not-a-program", "mode 0755", CheckAgentProgram());
        fs::remove(agentProgram);
        InstallAgent();
        fs::permissions(agentProgram, fs::perms(0644));
        ExpectProblem("agent-not-a-program", "mode 0644", CheckAgentProgram());
    });
}

TEST(DoctorAgentTest, ReportsProgramInUnsearchableDirectory) {
    Sandbox::Run([] {
        InstallAgent();
        fs::permissions("/opt/VeskaClient", fs::perms::none);
        WithoutRights(
            [] { ExpectProblem("agent-unreachable", "Permission denied", CheckAgentProgram()); });
    });
}

TEST(DoctorAgentTest, FindsProcessOfRunningAgent) {
    Sandbox::Run([] {
        InstallAgent();
        OtherProgram const agent({agentProgram, "60"});
        Finding const finding = CheckAgentProcess();
        ExpectFinding(Verdict::ok, "", "the agent runs as process " + std::to_string(agent.pid()),
                      finding);
        EXPECT_EQ(std::optional<long>(agent.pid()), finding.processId);
    });
}

TEST(DoctorAgentTest, ReportsThatNoProcessRuns) {
    Sandbox::Run([] {
        InstallAgent();
        ExpectProblem("agent-not-running", "", CheckAgentProcess());
        OtherProgram const other({"/bin/sleep", "60"});
        ExpectProblem("agent-not-running", "", CheckAgentProcess());
    });
}

TEST(DoctorAgentTest, ReportsZombieOfAgent) {
    Sandbox::Run([] {
        InstallAgent();
        OtherProgram const agent({agentProgram, "0"});
        AwaitZombie(agent.pid());
        Finding const finding = CheckAgentProcess();
        ExpectProblem("agent-zombie", "has ended", finding);
        ExpectProcess(agent, finding);
    });
}

TEST(DoctorAgentTest, ReportsRunningAgentWithRemovedOrReplacedProgram) {
    Sandbox::Run([] {
        InstallAgent();
        OtherProgram const agent({agentProgram, "60"});
        fs::remove(agentProgram);
        Finding const removed = CheckAgentProcess();
        ExpectProblem("agent-deleted-program", std::string("runs ") + agentProgram + ", which",
                      removed);
        ExpectProcess(agent, removed);
        InstallAgent();
        ExpectProblem("agent-deleted-program", "", CheckAgentProcess());
    });
}

TEST(DoctorAgentTest, NotesProgramWithSameNameInOtherDirectory) {
    Sandbox::Run([] {
        InstallAgent();
        fs::copy_file("/bin/sleep", "/opt/VeskaClient/VeskaClient");
        OtherProgram const other({"/opt/VeskaClient/VeskaClient", "60"});
        Finding const finding = CheckAgentProcess();
        ExpectFinding(Verdict::note, "agent-elsewhere", " /opt/VeskaClient/VeskaClient ", finding);
        ExpectProcess(other, finding);
    });
}

// The program of another user's process is not visible.
TEST(DoctorAgentTest, NotesProcessKnownOnlyByItsCommandName) {
    Sandbox::Run({.proc = Proc::empty}, [] {
        MakeFakeProcess("77", {.stat = "77 (VeskaClient) S 1 77"});
        Finding const finding = CheckAgentProcess();
        ExpectFinding(Verdict::note, "agent-by-command-name", "process 77 ", finding);
        EXPECT_EQ(std::optional<long>(77), finding.processId);
    });
}

TEST(DoctorAgentTest, PrefersProcessWithStrongerEvidence) {
    Sandbox::Run({.proc = Proc::empty}, [] {
        InstallAgent();
        MakeFakeProcess("5", {.stat = "5 (VeskaClient) Z 1"});
        ExpectProblem("agent-zombie", "process 5 ", CheckAgentProcess());
        MakeFakeProcess("6", {.exe = "/opt/VeskaClient/bin/VeskaClient (deleted)"});
        ExpectProblem("agent-deleted-program", "process 6 ", CheckAgentProcess());
        MakeFakeProcess("7", {.stat = "7 (VeskaClient) S 1"});
        ExpectFinding(Verdict::note, "agent-by-command-name", "process 7 ", CheckAgentProcess());
        MakeFakeProcess("8", {.exe = "/elsewhere/VeskaClient"});
        ExpectFinding(Verdict::note, "agent-elsewhere", "process 8 ", CheckAgentProcess());
        MakeFakeProcess("9", {.exe = agentProgram});
        ExpectOk("process 9", CheckAgentProcess());
        MakeFakeProcess("10", {.stat = "10 (VeskaClient) S 1"});
        ExpectOk("process 9", CheckAgentProcess());
    });
}

// The order in which /proc lists processes does not matter.
TEST(DoctorAgentTest, ReportsTheLowestProcessId) {
    Sandbox::Run({.proc = Proc::empty}, [] {
        InstallAgent();
        for (char const* const id : {"6", "5", "7"}) {
            MakeFakeProcess(id, {.exe = agentProgram});
            SCOPED_TRACE(id);
            ExpectOk(*id == '6' ? "process 6" : "process 5", CheckAgentProcess());
        }
    });
}

TEST(DoctorAgentTest, IgnoresProcessesWithSimilarNames) {
    Sandbox::Run({.proc = Proc::empty}, [] {
        MakeFakeProcess("5", {.exe = "/bin/veskaclient"});
        MakeFakeProcess("6", {.exe = "/bin/VeskaClientX"});
        MakeFakeProcess("7", {.stat = "7 (VeskaClient ) S 1"});
        MakeFakeProcess("8", {});
        ExpectProblem("agent-not-running", "", CheckAgentProcess());
    });
}

TEST(DoctorAgentTest, ReportsMissingProcFileSystem) {
    for (Proc const proc : {Proc::empty, Proc::none})
        Sandbox::Run({.proc = proc},
                     [] { ExpectProblem("no-proc", "/proc", CheckAgentProcess()); });
}

} // namespace
