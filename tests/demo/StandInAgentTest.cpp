// The stand-in agent as a program, in sandboxes: with requests as raw bytes, and with the real
// tool.
#include <csignal>

#include <sys/inotify.h>
#include <sys/stat.h>

#include "tests/compliance/ExchangeFiles.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/Sandbox.h"
#include "tests/system/Documents.h"

namespace {

using namespace ExchangeFiles;
using Sandbox::agentProgram;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr char scenarioFile[] = "/opt/test.scenario";

// Waits for a condition. Returns whether it became true before the timeout.
bool Await(std::function<bool()> const& condition, milliseconds limit = milliseconds(10000)) {
    for (auto const end = Clock::now() + limit; Clock::now() < end; usleep(1000))
        if (condition())
            return true;
    return condition();
}

// Installs the stand-in agent and its scenario. Returns the command that runs it.
std::vector<std::string> Install(std::string const& scenario) {
    Sandbox::InstallAgent(VESKA_CLIENT);
    WriteWholeFile(scenarioFile, scenario);
    return {agentProgram, scenarioFile};
}

// The stand-in agent, installed and started by the constructor.
class StandIn {
public:
    explicit StandIn(std::string const& scenario) : program(Install(scenario)) {
        EXPECT_TRUE(Says("VeskaClient: ready\n"));
    }
    // Stops the agent if the test does not.
    ~StandIn() {
        if (program.IsRunning()) {
            EXPECT_EQ(ExitStatus::Exited(0), Stop().status);
        }
    }

    // Waits until the output contains the text.
    bool Says(std::string const& text) {
        return Await([&] { return Output().find(text) != std::string::npos; });
    }

    std::string Output() const { return program.Output(); }

    ProgramResult Stop(int signal = SIGTERM) {
        program.Kill(signal);
        return program.Wait(milliseconds(5000));
    }

private:
    OtherProgram program;
};

std::string RequestOf(std::string const& type) {
    return "<?xml version=\"1.0\"?>\r\n<VeskaClientComplianceRequest Version=\"1.0\">\r\n"
           "\t<RequestType>" +
           type + "</RequestType>\r\n</VeskaClientComplianceRequest>";
}

// As the tool does it: a complete document that replaces an existing one.
void Publish(std::string const& bytes) {
    WriteWholeFile(requestTemporary, bytes);
    EXPECT_EQ(0, rename(requestTemporary, requestFile));
}

bool IsTaken() {
    return Await([] { return !Exists(requestFile); });
}

// Sends a request and returns the response, which is empty if there is none.
std::string ResponseTo(std::string const& type) {
    unlink(responseFile);
    Publish(RequestOf(type));
    EXPECT_TRUE(IsTaken()) << type;
    return ReadWholeFile(responseFile);
}

ProgramResult RunStandIn(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), agentProgram);
    return RunProgram(arguments);
}

void ExpectResult(int status, std::string const& output, std::string const& errors,
                  ProgramResult const& result) {
    EXPECT_EQ(ExitStatus::Exited(status), result.status);
    EXPECT_EQ(output, result.output);
    EXPECT_EQ(errors, result.errors);
}

TEST(StandInAgentTest, ReportsFileLineAndReasonOfAScenarioError) {
    Sandbox::Run([] {
        Install("# fine\nfinish\nprogress x\n");
        std::string const error = "VeskaClient: /opt/test.scenario:3: 'x' is not a number from "
                                  "-2147483648 to 2147483647\n";
        ExpectResult(1, "", error, RunStandIn({scenarioFile}));
        ExpectResult(1, "", error, RunStandIn({"--check", scenarioFile}));
        EXPECT_FALSE(Exists("/var/opt/VeskaClient"));
    });
}

SANDBOX_TEST(StandInAgentTest, ReportsUnreadableOrEmptyScenario) {
    Install("");
    for (std::string const name : {"/opt/missing", "/opt"})
        ExpectResult(1, "", "VeskaClient: " + name + ": cannot be read\n", RunStandIn({name}));
    ExpectResult(1, "",
                 "VeskaClient: /opt/test.scenario:1: no statement answers a Progress request\n",
                 RunStandIn({scenarioFile}));
}

TEST(StandInAgentTest, CheckOfAValidScenarioHasNoEffect) {
    Sandbox::Run([] {
        Install("finish\n");
        for (char const* const file : {scenarioFile, DEMO_SCENARIO})
            ExpectResult(0, "", "", RunStandIn({"--check", file}));
        EXPECT_FALSE(Exists("/var/opt/VeskaClient"));
    });
}

SANDBOX_TEST(StandInAgentTest, PrintsUsageForOtherArguments) {
    Sandbox::InstallAgent(VESKA_CLIENT);
    std::string const usage = RunStandIn({"--help"}).output;
    EXPECT_TRUE(usage.starts_with("Usage: VeskaClient SCENARIO\n"));
    for (std::vector<std::string> const& arguments :
         {std::vector<std::string>{}, {"--check"}, {"-x"}, {"a", "b"}, {"--check", "a", "b"}})
        ExpectResult(2, "", usage, RunStandIn(arguments));
}

TEST(StandInAgentTest, HelpAndVersionFailIfStandardOutputFails) {
    auto const writeToFullDisk = [] {
        return dup2(open("/dev/full", O_WRONLY | O_CLOEXEC), STDOUT_FILENO) >= 0;
    };
    for (char const* const option : {"--help", "--version"})
        EXPECT_EQ(ExitStatus::Exited(1),
                  RunProgram({VESKA_CLIENT, option}, {.prepare = writeToFullDisk}).status)
            << option;
}

TEST(StandInAgentTest, PrintsVersionOfTheProject) {
    ExpectResult(0, "VeskaClient (stand-in agent) " CC_VERSION "\n", "",
                 RunProgram({VESKA_CLIENT, "--version"}));
}

TEST(StandInAgentTest, CreatesMissingDirectories) {
    Sandbox::Run([] {
        StandIn agent("finish\n");
        EXPECT_TRUE(std::filesystem::is_directory(requestDirectory));
        EXPECT_TRUE(std::filesystem::is_directory(responseDirectory));
    });
}

SANDBOX_TEST(StandInAgentTest, StopsOnSigintAndSigterm) {
    for (int const signal : {SIGTERM, SIGINT}) {
        SCOPED_TRACE(signal);
        StandIn agent("finish\n");
        ExpectResult(0, "VeskaClient: ready\nVeskaClient: stopped\n", "", agent.Stop(signal));
    }
}

SANDBOX_TEST(StandInAgentTest, StopsDuringADelayAndLeavesTheRequest) {
    StandIn agent("delay 60000\nopen answer\nfinish\n");
    Publish(RequestOf("Open"));
    usleep(200000);
    EXPECT_EQ(ExitStatus::Exited(0), agent.Stop().status);
    EXPECT_TRUE(Exists(requestFile));
    EXPECT_FALSE(Exists(responseFile));
}

SANDBOX_TEST(StandInAgentTest, StopsWhileAFifoAtTheRequestBlocksIt) {
    StandIn agent("finish\n");
    ASSERT_EQ(0, mkfifo(requestFile, 0600));
    usleep(200000);
    EXPECT_EQ(ExitStatus::Exited(0), agent.Stop().status);
}

TEST(StandInAgentTest, RefusesToStartIfAProcessHasItsName) {
    Sandbox::Run([] {
        Sandbox::InstallAgent("/bin/sleep");
        OtherProgram const other({agentProgram, "1000"});
        std::filesystem::create_directory("/opt/second");
        std::filesystem::copy_file(VESKA_CLIENT, "/opt/second/VeskaClient");
        WriteWholeFile(scenarioFile, "finish\n");
        ExpectResult(1, "",
                     "VeskaClient: process " + std::to_string(other.pid()) +
                         " has the name of the agent; stop it first\n",
                     RunProgram({"/opt/second/VeskaClient", scenarioFile}));
        EXPECT_FALSE(Exists("/var/opt/VeskaClient"));
        // The check of a scenario starts no agent.
        ExpectResult(0, "", "", RunProgram({"/opt/second/VeskaClient", "--check", scenarioFile}));
    });
}

SANDBOX_TEST(StandInAgentTest, AnswersRequestsInOrder) {
    StandIn agent("progress 40\nerror -22\nstate 4\nrow a \"b&c\" \"\\xe9\" d \"\" f\nfinish\n");
    std::string const finished =
        ProgressResponse("1", "0", "100", Row({"a", "b&amp;c", "&#xe9;", "d", "", "f"}));
    // Each Open request restarts the scenario, and its last response repeats.
    for (int evaluation = 0; evaluation < 2; ++evaluation) {
        EXPECT_EQ(ResponseOfType("Open"), ResponseTo("Open"));
        EXPECT_EQ(ProgressResponse("3", "0", "40"), ResponseTo("Progress"));
        EXPECT_EQ(ProgressResponse("2", "-22", "0"), ResponseTo("Progress"));
        EXPECT_EQ(ProgressResponse("4", "0", "0"), ResponseTo("Progress"));
        EXPECT_EQ(finished, ResponseTo("Progress"));
        EXPECT_EQ(finished, ResponseTo("Progress"));
        EXPECT_EQ(ResponseOfType("Close"), ResponseTo("Close"));
    }
}

SANDBOX_TEST(StandInAgentTest, PrintsTheRequest) {
    StandIn agent("finish\n");
    Publish("<VeskaClientComplianceRequest>\r\n\t<RequestType>Open</RequestType>\r\n"
            "\t<RequestURL>a&amp;b</RequestURL>\r\n</VeskaClientComplianceRequest>");
    EXPECT_TRUE(IsTaken());
    EXPECT_EQ("VeskaClient: ready\n"
              "VeskaClient: a request:\n"
              "  | <VeskaClientComplianceRequest>\n"
              "  | \t<RequestType>Open</RequestType>\n"
              "  | \t<RequestURL>a&amp;b</RequestURL>\n"
              "  | </VeskaClientComplianceRequest>\n"
              "VeskaClient: answered it\n"
              "VeskaClient: stopped\n",
              agent.Stop().output);
}

void ReadEvents(int watch, std::vector<std::string>& steps) {
    alignas(inotify_event) char events[4096];
    ssize_t const length = read(watch, events, sizeof events);
    for (ssize_t at = 0; at < length;) {
        auto const* const event = reinterpret_cast<inotify_event const*>(events + at);
        steps.push_back((event->mask & IN_DELETE ? "removed " : "published ") +
                        std::string(event->name));
        at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
}

SANDBOX_TEST(StandInAgentTest, PublishesTheResponseBeforeItTakesTheRequest) {
    StandIn agent("garbage\nfinish\n");
    for (char const* const type : {"Open", "Progress", "Progress", "Close"}) {
        unlink(responseFile);
        int const watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        EXPECT_LE(0, inotify_add_watch(watch, responseDirectory, IN_MOVED_TO | IN_DELETE));
        EXPECT_LE(0, inotify_add_watch(watch, requestDirectory, IN_DELETE));
        Publish(RequestOf(type));
        std::vector<std::string> steps;
        EXPECT_TRUE(Await([&] { return ReadEvents(watch, steps), steps.size() >= 2; }));
        close(watch);
        EXPECT_EQ((std::vector<std::string>{"published response.xml", "removed request.xml"}),
                  steps)
            << type;
    }
}

SANDBOX_TEST(StandInAgentTest, PublishesGarbageWithoutTheEndTagOfTheRoot) {
    StandIn agent("open garbage\nclose garbage\ngarbage\n");
    for (char const* const type : {"Open", "Progress", "Close"}) {
        std::string const response = ResponseTo(type);
        EXPECT_TRUE(response.starts_with("<VeskaClientComplianceResponse")) << response;
        EXPECT_EQ(std::string::npos, response.find("</VeskaClientComplianceResponse>"));
    }
    EXPECT_TRUE(agent.Says("VeskaClient: answered with garbage\n"));
    EXPECT_FALSE(Exists(responseTemporary));
}

SANDBOX_TEST(StandInAgentTest, VanishTakesTheRequestAndKeepsAnOldResponse) {
    StandIn agent("open vanish\nvanish\n");
    EXPECT_EQ("", ResponseTo("Open"));
    EXPECT_FALSE(Exists(responseFile));
    WriteWholeFile(responseFile, "old");
    Publish(RequestOf("Progress"));
    EXPECT_TRUE(IsTaken());
    EXPECT_EQ("old", ReadWholeFile(responseFile));
    EXPECT_TRUE(agent.Says("VeskaClient: taken without a response\n"));
}

SANDBOX_TEST(StandInAgentTest, SilenceLeavesOneRequestAndAnswersTheNext) {
    StandIn agent("silence\nprogress 7\n");
    std::string const request = RequestOf("Progress");
    Publish(request);
    EXPECT_TRUE(agent.Says("VeskaClient: ignored\n"));
    usleep(200000);
    EXPECT_EQ(request, ReadWholeFile(requestFile));
    EXPECT_FALSE(Exists(responseFile));
    EXPECT_EQ(ProgressResponse("3", "0", "7"), ResponseTo("Progress"));
}

// Changes the nanoseconds of the modification time, then its seconds.
SANDBOX_TEST(StandInAgentTest, RequestWithAnotherTimeIsNew) {
    StandIn agent("silence\nsilence\nprogress 7\n");
    std::string const leftAlone = "VeskaClient: ignored\n";
    Publish(RequestOf("Progress"));
    EXPECT_TRUE(agent.Says(leftAlone));
    struct stat stats {};
    EXPECT_EQ(0, stat(requestFile, &stats));
    timespec times[2] = {stats.st_atim, stats.st_mtim};
    times[1].tv_nsec ^= 1;
    EXPECT_EQ(0, utimensat(AT_FDCWD, requestFile, times, 0));
    EXPECT_TRUE(
        Await([&] { return agent.Output().find(leftAlone) != agent.Output().rfind(leftAlone); }));
    --times[1].tv_sec;
    EXPECT_EQ(0, utimensat(AT_FDCWD, requestFile, times, 0));
    EXPECT_TRUE(IsTaken());
    EXPECT_EQ(ProgressResponse("3", "0", "7"), ReadWholeFile(responseFile));
}

SANDBOX_TEST(StandInAgentTest, DelaysTheResponse) {
    StandIn agent("progress 1\ndelay 700\nprogress 2\n");
    ResponseTo("Progress");
    auto const start = Clock::now();
    EXPECT_EQ(ProgressResponse("3", "0", "2"), ResponseTo("Progress"));
    EXPECT_LE(milliseconds(700), Clock::now() - start);
}

// As when the tool gives up on a slow agent and closes.
SANDBOX_TEST(StandInAgentTest, RequestDuringADelayReplacesTheFirst) {
    StandIn agent("close answer\ndelay 500\nfinish\n");
    Publish(RequestOf("Progress"));
    EXPECT_TRUE(agent.Says("VeskaClient: a request:\n"));
    EXPECT_EQ(ResponseOfType("Close"), ResponseTo("Close"));
    EXPECT_TRUE(agent.Says("VeskaClient: the request was removed or replaced\n"));
}

SANDBOX_TEST(StandInAgentTest, ReportsInvalidRequestOnceAndLeavesIt) {
    StandIn agent("finish\n");
    Publish("no request");
    EXPECT_TRUE(agent.Says("request.xml cannot be read as a request\n"));
    usleep(200000);
    EXPECT_EQ("no request", ReadWholeFile(requestFile));
    EXPECT_EQ(ResponseOfType("Open"), ResponseTo("Open"));
    std::string const output = agent.Stop().output;
    EXPECT_EQ(output.find("not a request\n"), output.rfind("not a request\n"));
}

TEST(StandInAgentTest, ReportsFailedResponseAndLeavesTheRequest) {
    for (auto const& [scenario, message] :
         {std::pair("open garbage\nfinish\n", responseTemporary),
          {"finish\n", "VeskaClient: the response could not be written\n"}})
        Sandbox::RunWithDirectories([script = scenario, expected = message] {
            StandIn agent(script);
            std::filesystem::remove(responseDirectory);
            Publish(RequestOf("Open"));
            EXPECT_TRUE(agent.Says(expected));
            EXPECT_TRUE(Exists(requestFile));
        });
}

SANDBOX_TEST(StandInAgentTest, RealToolPrintsTheRows) {
    StandIn agent("delay 50\nprogress 40\n"
                  "row one \"R&D <x>\" pass/fail 1523 \"caf\\xE9\" \"\"\nfinish\n");
    ProgramResult const tool =
        RunProgram({CLIENT_COMPLIANCE, "-c", "http://example.com/a&b", "Doc.xml", "3"});
    ExpectResult(0,
                 PrintedPercent("40") + PrintedCount(1) +
                     PrintedRow({"one", "R&D <x>", "pass/fail", "1523", "caf\xE9", ""}),
                 "", tool);
    EXPECT_FALSE(Exists(requestFile));
    std::string const shown = agent.Stop().output;
    EXPECT_NE(std::string::npos,
              shown.find("  | \t<RequestURL>http://example.com/a&amp;b</RequestURL>\n"));
}

} // namespace
