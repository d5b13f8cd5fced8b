// The real compliance-query against a scripted agent, for the body of a Sandbox.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "tests/support/OtherProcess.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/system/Documents.h"

std::vector<std::string> QueryCommand(std::vector<std::string> const& arguments);

ProgramResult RunQuery(std::vector<std::string> const& arguments,
                       ProgramOptions const& options = {});

// Answers Open, then Progress with each of these, then Close.
AgentScript QueryScript(std::vector<std::string> const& progressAnswers);

// The answer to Progress that ends an evaluation with these rows.
std::string Finished(std::string const& rows = "");

// An evaluation that finishes with these rows.
inline AgentScript FinishingScript(std::string const& rows) {
    return QueryScript({Finished(rows)});
}

// Two rows, of which the second one has texts that need escapes.
std::string TwoRows();
// More rows than fit into a pipe or into the buffer of the output.
std::string ManyRows();

// The document of a failure, without its provenance.
nlohmann::json FailureOf(int status, std::string const& word, std::string const& message);

// The document on standard output without its provenance, which must be there.
nlohmann::json DocumentOf(ProgramResult const& result);

// Runs an evaluation on a machine of its own, and calls `look(result, requests)` there.
template <typename Look>
void Query(std::vector<std::string> const& arguments, AgentScript const& script, Look const& look) {
    Sandbox::RunWithDirectories([&] {
        ScriptedAgent const agent(script);
        ProgramResult const result = RunQuery(arguments);
        agent.AwaitEnd(std::chrono::seconds(1));
        look(result, agent.Requests());
    });
}
