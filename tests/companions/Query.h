// The real compliance-query against a scripted agent, for the body of a Sandbox.
#pragma once

#include "tests/companions/CompanionTest.h"
#include "tests/system/Documents.h"

Texts QueryCommand(Texts const& arguments);

ProgramResult RunQuery(Texts const& arguments, ProgramOptions const& options = {});

// Returns the script of an agent that answers Open, each Progress request in turn, and Close.
AgentScript QueryScript(Texts const& progressResponses);

// Returns the response to Progress that ends an evaluation with these rows.
std::string Finished(std::string const& rows = "");

// Returns the script of an agent whose evaluation ends with these rows.
AgentScript FinishingScript(std::string const& rows = Row(shortRow));

// Returns two rows. The second one has texts that need escapes.
std::string TwoRows();
// Returns more rows than fit into a pipe or into the buffer of Output.
std::string ManyRows();

// Returns the document of a failure without its provenance.
Json FailureOf(int status, std::string const& word, std::string const& message);

// Returns the document on standard output without its provenance. Fails if it has none.
Json DocumentOf(ProgramResult const& result);

struct QueryRun : ProgramResult {
    // The bytes of the requests that the agent saw.
    Texts requests;
};

// Runs an evaluation until the agent has played the whole script.
QueryRun Query(Texts const& arguments, AgentScript const& script,
               ProgramOptions const& options = {});
