#include "compliance/AgentPresence.h"
#include "tests/companions/Findings.h"
#include "tests/compliance/FakeProcess.h"

namespace {

using Sandbox::agentProgram;
using Sandbox::InstallAgent;

Sandbox::Options const emptyProc{.proc = Sandbox::Proc::empty};

void ExpectProcess(OtherProgram const& program, Finding const& finding) {
    EXPECT_EQ(std::optional<long>(program.pid()), finding.processId);
    EXPECT_THAT(finding.message, HasSubstr("process " + std::to_string(program.pid())));
}

void AwaitZombie(pid_t process) {
    std::string const file = "/proc/" + std::to_string(process) + "/stat";
    while (ReadWholeFile(file).find(") Z ") == std::string::npos)
        std::this_thread::sleep_for(milliseconds(1));
}

SANDBOX_TEST(DoctorAgentTest, AcceptsInstalledProgram) {
    InstallAgent();
    ExpectOk(agentProgram, CheckAgentProgram());
}

SANDBOX_TEST(DoctorAgentTest, ReportsMissingProgram) {
    ExpectProblem("agent-missing", agentProgram, CheckAgentProgram());
    fs::create_directories("/opt/VeskaClient/bin");
    fs::create_symlink("nothing", agentProgram);
    ExpectProblem("agent-missing", agentProgram, CheckAgentProgram());
}

SANDBOX_TEST(DoctorAgentTest, ReportsEntryThatIsNotAProgram) {
    fs::create_directories(agentProgram);
    ExpectProblem("agent-not-a-program", "mode 0755", CheckAgentProgram());
    fs::remove(agentProgram);
    InstallAgent();
    SetMode(agentProgram, 0644);
    ExpectProblem("agent-not-a-program", "mode 0644", CheckAgentProgram());
}

SANDBOX_TEST(DoctorAgentTest, ReportsProgramInUnsearchableDirectory) {
    InstallAgent();
    SetMode("/opt/VeskaClient", 0);
    WithoutRights(
        [] { ExpectProblem("agent-unreachable", "Permission denied", CheckAgentProgram()); });
}

SANDBOX_TEST(DoctorAgentTest, RemedyForLoopOfLinksIsNotPermission) {
    fs::create_directories(fs::path(agentProgram).parent_path());
    fs::create_symlink("VeskaClient", agentProgram);
    ExpectProblem("agent-unreachable", "symbolic links", CheckAgentProgram());
    EXPECT_EQ("remove the loop of symbolic links", CheckAgentProgram().remedy);
}

SANDBOX_TEST(DoctorAgentTest, FindsProcessOfRunningAgent) {
    OtherProgram const agent(Sandbox::InstallIdleAgent());
    Finding const finding = CheckAgentProcess();
    ExpectOk("the agent runs as process ", finding);
    ExpectProcess(agent, finding);
}

SANDBOX_TEST(DoctorAgentTest, ReportsThatNoProcessRuns) {
    InstallAgent();
    ExpectProblem("agent-not-running", "", CheckAgentProcess());
    OtherProgram const other({"/bin/sleep", "60"});
    ExpectProblem("agent-not-running", "", CheckAgentProcess());
}

SANDBOX_TEST(DoctorAgentTest, ReportsZombieOfAgent) {
    InstallAgent();
    OtherProgram const agent({agentProgram, "0"});
    AwaitZombie(agent.pid());
    Finding const finding = CheckAgentProcess();
    ExpectProblem("agent-zombie", "has ended", finding);
    ExpectProcess(agent, finding);
}

SANDBOX_TEST(DoctorAgentTest, ReportsRunningAgentWithRemovedOrReplacedProgram) {
    OtherProgram const agent(Sandbox::InstallIdleAgent());
    fs::remove(agentProgram);
    Finding const removed = CheckAgentProcess();
    ExpectProblem("agent-deleted-program", std::string("runs ") + agentProgram + ", which",
                  removed);
    ExpectProcess(agent, removed);
    InstallAgent();
    ExpectProblem("agent-deleted-program", "", CheckAgentProcess());
}

SANDBOX_TEST(DoctorAgentTest, NotesProgramWithSameNameInOtherDirectory) {
    InstallAgent();
    fs::copy_file("/bin/sleep", "/opt/VeskaClient/VeskaClient");
    OtherProgram const other({"/opt/VeskaClient/VeskaClient", "60"});
    Finding const finding = CheckAgentProcess();
    ExpectNote("agent-elsewhere", " /opt/VeskaClient/VeskaClient ", finding);
    ExpectProcess(other, finding);
}

// The program of another user's process is not visible.
SANDBOX_TEST_WITH(DoctorAgentTest, NotesProcessKnownOnlyByItsCommandName, emptyProc) {
    MakeFakeProcess("77", {.stat = "77 (VeskaClient) S 1 77"});
    Finding const finding = CheckAgentProcess();
    ExpectNote("agent-by-command-name", "process 77 ", finding);
    EXPECT_EQ(std::optional<long>(77), finding.processId);
}

SANDBOX_TEST_WITH(DoctorAgentTest, PrefersProcessWithStrongerEvidence, emptyProc) {
    InstallAgent();
    MakeFakeProcess("5", {.stat = "5 (VeskaClient) Z 1"});
    ExpectProblem("agent-zombie", "process 5 ", CheckAgentProcess());
    MakeFakeProcess("6", {.exe = "/opt/VeskaClient/bin/VeskaClient (deleted)"});
    ExpectProblem("agent-deleted-program", "process 6 ", CheckAgentProcess());
    MakeFakeProcess("7", {.stat = "7 (VeskaClient) S 1"});
    ExpectNote("agent-by-command-name", "process 7 ", CheckAgentProcess());
    MakeFakeProcess("8", {.exe = "/elsewhere/VeskaClient"});
    ExpectNote("agent-elsewhere", "process 8 ", CheckAgentProcess());
    MakeFakeProcess("9", {.exe = agentProgram});
    ExpectOk("process 9", CheckAgentProcess());
    MakeFakeProcess("10", {.stat = "10 (VeskaClient) S 1"});
    ExpectOk("process 9", CheckAgentProcess());
}

// The order in which /proc lists processes does not matter.
SANDBOX_TEST_WITH(DoctorAgentTest, ReportsTheLowestProcessId, emptyProc) {
    InstallAgent();
    for (char const* const id : {"6", "5", "7"}) {
        MakeFakeProcess(id, {.exe = agentProgram});
        ExpectOk(*id == '6' ? "process 6" : "process 5", CheckAgentProcess());
    }
}

SANDBOX_TEST_WITH(DoctorAgentTest, AgreesWithTheToolOnTheNameOfEachProgram, emptyProc) {
    for (char const* const program : {"/VeskaClient", "/VeskaClient (deleted)", "VeskaClient",
                                      "/a/VeskaClient", "//VeskaClient", "/a/VeskaClient (deleted)",
                                      "/VeskaClient/agent", "/a (deleted)/VeskaClient"}) {
        MakeFakeProcess("5", {.exe = program});
        EXPECT_EQ(UnixPlatform::IsRunning(), CheckAgentProcess().verdict != Verdict::problem)
            << program;
    }
    MakeFakeProcess("5", {.exe = "/VeskaClient"});
    ExpectProblem("agent-not-running", "", CheckAgentProcess());
}

SANDBOX_TEST_WITH(DoctorAgentTest, IgnoresProcessesWithSimilarNames, emptyProc) {
    MakeFakeProcess("5", {.exe = "/bin/veskaclient"});
    MakeFakeProcess("6", {.exe = "/bin/VeskaClientX"});
    MakeFakeProcess("7", {.stat = "7 (VeskaClient ) S 1"});
    MakeFakeProcess("8", {});
    ExpectProblem("agent-not-running", "", CheckAgentProcess());
}

TEST(DoctorAgentTest, ReportsMissingProcFileSystem) {
    for (Sandbox::Proc const proc : {Sandbox::Proc::empty, Sandbox::Proc::none})
        Sandbox::Run({.proc = proc},
                     [] { ExpectProblem("no-proc", "/proc", CheckAgentProcess()); });
}

} // namespace
