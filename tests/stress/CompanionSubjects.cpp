#include "tests/stress/CompanionSubjects.h"

#include <nlohmann/json.hpp>

#include "tests/stress/Invariants.h"

namespace {

using namespace Stress;

constexpr char results[] = "/opt/results";
constexpr char resultFile[] = "/opt/results/result.json";
std::string const oldResult = "the result of yesterday\n";

bool IsNewResult(std::string const& bytes) {
    auto const document = nlohmann::json::parse(bytes, nullptr, false);
    return document.is_object() && document.value("outcome", "") == "finished" &&
           document.at("rows").size() == 1 && bytes.ends_with("}\n");
}

// A document of compliance-query with one row.
std::string StoredResult(std::string const& host, std::string const& result) {
    return R"({"schemaVersion":1,"outcome":"finished","rowCount":1,"rows":[{"designator":"d",)"
           R"("result":")" +
           result +
           R"(","resultType":"t","evaluationTime":"1","description":"x","comment":"c"}],)"
           R"("provenance":{"host":")" +
           host +
           R"(","start":"2026-03-01T08:30:00Z","end":"2026-03-01T08:30:10Z",)"
           R"("response":{"fresh":true}}})";
}

std::string const passed = StoredResult("web1", "Pass");
std::string const failed = StoredResult("web2", "Fail");
constexpr char passedFile[] = "/opt/stored/passed.json";
constexpr char failedFile[] = "/opt/stored/failed.json";

// Creates two stored results, and a file that a report replaces.
void StoreResults() {
    for (char const* const directory : {results, "/opt/stored"})
        fs::create_directory(directory);
    WriteBytes(passedFile, passed);
    WriteBytes(failedFile, failed);
    WriteBytes(resultFile, oldResult);
}

void ExpectUnchangedResults() {
    EXPECT_EQ(passed, ReadBytes(passedFile));
    EXPECT_EQ(failed, ReadBytes(failedFile));
    EXPECT_EQ("failed.json passed.json ", ListDirectory("/opt/stored"));
}

bool HasStatusAmong(std::vector<int> const& statuses, KilledRun const& run) {
    return std::ranges::any_of(
        statuses, [&](int status) { return run.status == ExitStatus::Exited(status); });
}

// Standard output is a document, or nothing, or was cut. It is a document if the exit status is one
// of these.
void ExpectDocument(std::vector<int> const& statuses, KilledRun const& run) {
    auto const isFailedWrite = [](SystemCall const& call) {
        return call.name.starts_with("write") && !call.succeeded;
    };
    bool const isCut = run.wasKilled || std::ranges::any_of(run.trace, isFailedWrite);
    bool const isWhole = nlohmann::json::accept(run.output);
    EXPECT_TRUE(isWhole || isCut || run.output.empty()) << run.output;
    EXPECT_TRUE(isWhole || !HasStatusAmong(statuses, run)) << run.output;
}

KilledRun TryQuery(std::function<KilledRun()> const& run) {
    fs::create_directory(results);
    WriteBytes(resultFile, oldResult);
    WriteBytes("/opt/results/other", "other");
    ScriptedAgent agent(FinishingScript(Row(shortRow)));
    KilledRun const result = run();
    try {
        agent.Stop();
    } catch (std::runtime_error const&) {
        // After a failed write another request replaces the one that the agent is taking.
    }
    ExpectFreeLock();
    ExpectKnownNames();
    std::string const bytes = ReadBytes(resultFile);
    bool const isNew = IsNewResult(bytes);
    EXPECT_TRUE(isNew || bytes == oldResult) << bytes;
    // If it is killed after the rename, the file is the new one.
    EXPECT_TRUE(result.wasKilled || isNew == (result.status == ExitStatus::Exited(0)))
        << result.status;
    EXPECT_EQ("", result.output);
    EXPECT_EQ("other", ReadBytes("/opt/results/other"));
    return result;
}

KilledRun TryDoctor(std::function<KilledRun()> const& run) {
    WriteBytes(ScriptedAgent::response, "a response");
    KilledRun const result = run();
    EXPECT_EQ("", Requests());
    EXPECT_EQ("response.xml ", ListDirectory(responseDirectory));
    EXPECT_EQ("a response", ReadBytes(ScriptedAgent::response));
    ExpectDocument({0}, result);
    return result;
}

KilledRun TryDiff(std::function<KilledRun()> const& run) {
    StoreResults();
    KilledRun const result = run();
    ExpectUnchangedResults();
    ExpectDocument({0, 1}, result);
    return result;
}

// An unreadable input is a problem in the report, which is published nevertheless.
KilledRun TryReport(std::function<KilledRun()> const& run) {
    StoreResults();
    KilledRun const result = run();
    ExpectUnchangedResults();
    std::string const bytes = ReadBytes(resultFile);
    auto const document = nlohmann::json::parse(bytes, nullptr, false);
    bool const isNew = document.is_object() && document.contains("problems");
    EXPECT_TRUE(isNew || bytes == oldResult) << bytes;
    EXPECT_TRUE(result.wasKilled || isNew == HasStatusAmong({0, 1, 10, 12}, result))
        << result.status << bytes;
    EXPECT_EQ("", result.output);
    return result;
}

constexpr char scenarioFile[] = "/opt/scenario";

// Reports that the agent has ended, perhaps before it was seen.
constexpr char agentEnded[] = "/opt/ended";

// The process id of the agent; 0 if there is none. The link of a process that has ended is
// dangling.
pid_t FindAgent() {
    for (auto const& entry : fs::directory_iterator("/proc")) {
        std::error_code error;
        if (fs::read_symlink(entry.path() / "exe", error) == Sandbox::agentProgram)
            return std::stoi(entry.path().filename());
    }
    return 0;
}

// Evaluates as soon as an agent runs, until it ends or the timeout expires. Then ends the agent,
// and returns the output of the tool.
std::string EvaluateAndStop(std::chrono::seconds limit) {
    constexpr auto pause = std::chrono::milliseconds(50);
    pid_t agent = 0;
    while ((agent = FindAgent()) == 0) {
        if (fs::exists(agentEnded))
            return "";
        std::this_thread::sleep_for(pause);
    }
    OtherProgram tool({CC_TOOL_PROGRAM, "-c", "url", "doc"});
    auto const end = std::chrono::steady_clock::now() + limit;
    while (tool.IsRunning() && FindAgent() != 0 && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(pause);
    if (tool.IsRunning())
        tool.Kill(SIGKILL);
    kill(agent, SIGTERM);
    return tool.Wait().output;
}

KilledRun TryStandIn(std::function<KilledRun()> const& run) {
    Sandbox::InstallAgent(CC_STAND_IN_PROGRAM);
    WriteBytes(scenarioFile, "row \"d\" \"r\" \"t\" \"1\" \"x\" \"c\"\nfinish\n");
    KilledRun result;
    {
        // An agent that fails to write leaves the request, and the tool times out.
        OtherProcess evaluation([] { EvaluateAndStop(std::chrono::seconds(10)); });
        result = run();
        WriteBytes(agentEnded, "");
        evaluation.Wait();
        fs::remove(agentEnded);
    }
    ExpectFreeLock();
    std::string const response =
        fs::exists(ScriptedAgent::response) ? ReadBytes(ScriptedAgent::response) : "";
    // After a failed write a part of a response is published, as in the library.
    EXPECT_TRUE(!result.wasKilled || response == "" ||
                response.ends_with("</VeskaClientComplianceResponse>"))
        << response;
    // A pending request refuses the next evaluation until the next agent takes it.
    fs::remove(ScriptedAgent::request);
    OtherProgram next({Sandbox::agentProgram, scenarioFile});
    EXPECT_EQ(PrintedOneRow(), EvaluateAndStop(std::chrono::seconds(60)));
    return result;
}

} // namespace

void Stress::PrintTo(Subject const& subject, std::ostream* out) { *out << subject.name; }

std::vector<Subject> const& Stress::CompanionSubjects() {
    static std::vector<Subject> const subjects = {
        {"Query", QueryCommand({"--json", "--output", resultFile, "url", "doc"}), CC_DYNAMIC_QUERY,
         TryQuery},
        {"Doctor", {CC_DOCTOR_PROGRAM, "--json"}, CC_DYNAMIC_DOCTOR, TryDoctor},
        {"Diff", {CC_DIFF_PROGRAM, "--json", passedFile, failedFile}, CC_DYNAMIC_DIFF, TryDiff},
        {"Report",
         {CC_REPORT_PROGRAM, "--strict=Pass,Fail", "--json", resultFile, "/opt/stored"},
         CC_DYNAMIC_REPORT,
         TryReport},
        {"StandIn", {Sandbox::agentProgram, scenarioFile}, Sandbox::agentProgram, TryStandIn},
    };
    return subjects;
}
