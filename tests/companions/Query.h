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

// Returns the script of an agent that answers Open, each Progress request in turn, and Close.
AgentScript QueryScript(std::vector<std::string> const& progressAnswers);

// Returns the answer to Progress that ends an evaluation with these rows.
std::string Finished(std::string const& rows = "");

// Returns the script of an agent whose evaluation ends with these rows.
inline AgentScript FinishingScript(std::string const& rows) {
    return QueryScript({Finished(rows)});
}

// Returns two rows. The second one has texts that need escapes.
std::string TwoRows();
// Returns more rows than fit into a pipe or into the buffer of Output.
std::string ManyRows();

// Returns the document of a failure without its provenance.
nlohmann::json FailureOf(int status, std::string const& word, std::string const& message);

// Returns the document on standard output without its provenance. Fails if it has none.
nlohmann::json DocumentOf(ProgramResult const& result);

// Runs an evaluation in a sandbox, and calls `check(result, requests)` there.
template <typename Check>
void Query(std::vector<std::string> const& arguments, AgentScript const& script,
           Check const& check) {
    Sandbox::RunWithDirectories([&] {
        ScriptedAgent const agent(script);
        ProgramResult const result = RunQuery(arguments);
        agent.AwaitEnd(std::chrono::seconds(1));
        check(result, agent.Requests());
    });
}
