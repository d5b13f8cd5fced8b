// The behaviour of the stand-in agent, described by a small text file.
//
// One statement a line; a "#" at the start of a line begins a comment. Words are separated by
// spaces or tabs. README.md in this folder lists the statements.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "compliance/ClientCompliance.h"

// How one request is handled.
struct ScenarioStep {
    enum Kind {
        Answer,  // publish `response`, then take the request
        Garbage, // publish a document that can't be read, then take the request
        Vanish,  // take the request and publish nothing
        Silence, // leave the request alone
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

// A mistake in the text: "NAME:LINE: REASON".
class ScenarioError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Reads a scenario. Messages refer to the text by `name`. Throws ScenarioError at the first
// mistake; a scenario without any statement for Progress requests is one.
Scenario ParseScenario(std::string const& text, std::string const& name);
