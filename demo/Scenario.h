// A scenario: a text file that specifies the behaviour of the stand-in agent.
//
// A line has at most one statement. A line that begins with "#" is a comment. Words are separated
// by spaces, tabs or carriage returns. README.md in this folder lists the statements.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "compliance/ClientCompliance.h"

// The handling of one request.
struct ScenarioStep {
    enum Kind {
        Answer,  // publish `response`, then remove the request
        Garbage, // publish a document that cannot be read, then remove the request
        Vanish,  // remove the request and publish nothing
        Silence, // do nothing
    };

    Kind kind = Answer;
    ClientComplianceResponse response{ClientComplianceProgress};
    unsigned int delay = 0; // milliseconds before the request is handled
};

struct Scenario {
    ScenarioStep open{.response = ClientComplianceResponse(ClientComplianceOpen)};
    std::vector<ScenarioStep> progress; // one for each Progress request; the last one repeats
    ScenarioStep close{.response = ClientComplianceResponse(ClientComplianceClose)};
};

// An error in the text: "NAME:LINE: REASON"; or a file that cannot be read: "NAME: REASON".
class ScenarioError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Parses a scenario. Messages refer to the text by `name`. Throws ScenarioError at the first error.
// A scenario without a statement for Progress requests is an error, and so are rows without a
// statement "finish" after them.
Scenario ParseScenario(std::string const& text, std::string const& name);
