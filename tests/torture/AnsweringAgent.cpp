#include "tests/torture/AnsweringAgent.h"

#include "tests/support/PrivateMachine.h"
#include "tests/torture/AgentAnswers.h"
#include "tests/torture/Sleeps.h"

namespace {

OtherProgram StartProcess() {
    PrivateMachine::InstallAgent();
    return OtherProgram({PrivateMachine::agentProgram, "600"});
}

} // namespace

namespace Torture {

AnsweringAgent::AnsweringAgent() : process(StartProcess()) {
    AgentAnswers::BeginAgain();
    Sleeps::Meanwhile(AgentAnswers::AnswerRequest);
}

AnsweringAgent::~AnsweringAgent() { Sleeps::Meanwhile(nullptr); }

} // namespace Torture
