// compliance-query, from the command line that was understood to the exit status.
#pragma once

struct QueryCommandLine;

// Runs one evaluation and writes what came of it. Returns the exit status.
int RunQuery(QueryCommandLine const& commandLine);
