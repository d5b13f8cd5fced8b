// An agent that answers while the product sleeps, in the same process (see AgentAnswers.h), and a
// process that has the agent's name. For a private machine with the agent's directories, in a
// program that links Sleeps.cpp.
#pragma once

#include "tests/support/OtherProcess.h"

namespace Torture {

// From its construction to its destruction. One at a time.
class AnsweringAgent {
public:
    AnsweringAgent();
    ~AnsweringAgent();
    AnsweringAgent(AnsweringAgent const&) = delete;
    AnsweringAgent& operator=(AnsweringAgent const&) = delete;

private:
    OtherProgram process;
};

} // namespace Torture
