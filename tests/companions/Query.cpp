#include "tests/companions/Query.h"

Texts QueryCommand(Texts const& arguments) {
    Texts command{CC_QUERY_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

ProgramResult RunQuery(Texts const& arguments, ProgramOptions const& options) {
    return RunProgram(QueryCommand(arguments), options);
}

AgentScript QueryScript(Texts const& progressResponses) {
    return WholeEvaluation(progressResponses);
}

std::string Finished(std::string const& rows) { return ProgressResponse("1", "0", "100", rows); }

AgentScript FinishingScript(std::string const& rows) { return QueryScript({Finished(rows)}); }

std::string TwoRows() {
    return Row({"baseline-001", "Compliant", "pass/fail", "1523", "R&amp;D", ""}) +
           Row({"b&#xb5;", "Not", "t\tu", "no number", "line\nbreak", "&#x1b;[31m"});
}

std::string ManyRows() {
    std::string rows;
    for (int i = 0; i < 5000; ++i)
        rows +=
            Row({std::to_string(i), "&#xff;", "type", "1", "a longer description of the row", ""});
    return rows;
}

Json FailureOf(int status, std::string const& word, std::string const& message) {
    return {{"schemaVersion", 1},
            {"outcome", "failed"},
            {"exitStatus", status},
            {"failure", word},
            {"message", message}};
}

Json DocumentOf(ProgramResult const& result) {
    Json document = Json::parse(result.output);
    EXPECT_EQ(1u, document.erase("provenance"));
    return document;
}

QueryRun Query(Texts const& arguments, AgentScript const& script, ProgramOptions const& options) {
    ScriptedAgent const agent(script);
    QueryRun run{RunQuery(arguments, options), {}};
    agent.AwaitEnd(seconds(1));
    for (SeenRequest const& seen : agent.Requests())
        run.requests.push_back(seen.bytes);
    return run;
}
