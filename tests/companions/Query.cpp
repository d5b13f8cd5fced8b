#include "tests/companions/Query.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

std::vector<std::string> QueryCommand(std::vector<std::string> const& arguments) {
    std::vector<std::string> command{CC_QUERY_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

ProgramResult RunQuery(std::vector<std::string> const& arguments, ProgramOptions const& options) {
    return RunProgram(QueryCommand(arguments), options);
}

AgentScript QueryScript(std::vector<std::string> const& progressAnswers) {
    AgentScript script;
    script.Answer(OpenAnswer());
    for (std::string const& answer : progressAnswers)
        script.Answer(answer);
    return script.Answer(CloseAnswer());
}

std::string Finished(std::string const& rows) { return ProgressAnswer("1", "0", "100", rows); }

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

nlohmann::json FailureOf(int status, std::string const& word, std::string const& message) {
    return {{"schemaVersion", 1},
            {"outcome", "failed"},
            {"exitStatus", status},
            {"failure", word},
            {"message", message}};
}

nlohmann::json DocumentOf(ProgramResult const& result) {
    nlohmann::json document = nlohmann::json::parse(result.output);
    EXPECT_EQ(1u, document.erase("provenance"));
    return document;
}
