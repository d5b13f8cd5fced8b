// Many tools compete for one lock: exactly one runs, and all others fail immediately.
#include "tests/stress/TestCases.h"

namespace {

// Many tools that start at the same time, when a gate opens.
class Contenders {
public:
    explicit Contenders(size_t number) {
        if (mkfifo(gate, 0666) != 0 || (opener = open(gate, O_RDWR | O_CLOEXEC)) < 0)
            throw std::runtime_error("cannot make a gate");
        for (size_t i = 0; i < number; ++i)
            tools.push_back(std::make_unique<OtherProgram>(BehindTheGate()));
        for (auto const& tool : tools)
            while (tool->Output() != ready)
                usleep(1000);
    }
    ~Contenders() { unlink(gate); }
    Contenders(Contenders const&) = delete;
    Contenders& operator=(Contenders const&) = delete;

    // All of them read from the gate until it is closed.
    void Release() { close(opener); }

    std::vector<std::unique_ptr<OtherProgram>> tools;
    static constexpr char const* ready = "ready\n";

private:
    static std::vector<std::string> BehindTheGate() {
        return {"/bin/sh", "-c",
                "exec 3</opt/gate; echo ready; read nothing <&3; exec 3<&-; exec \"$0\" -c url doc",
                CC_TOOL_PROGRAM};
    }

    static constexpr char const* gate = "/opt/gate";
    int opener = -1;
};

using Owners = std::vector<OtherProgram*>;

// The owner of the lock keeps it, because nobody answers. All others end first.
Owners AwaitRefusals(Contenders const& contenders) {
    Owners owners;
    for (auto const& tool : contenders.tools) {
        if (AskWhoLocks().l_pid == tool->pid()) {
            owners.push_back(tool.get());
            continue;
        }
        ExpectPrinted(Contenders::ready + OpenError(-6), tool->Wait(std::chrono::seconds(8)));
    }
    return owners;
}

// Then the owner is answered, and completes as if it had been alone.
void ExpectAnswered(OtherProgram& tool) {
    ScriptedAgent const agent(WholeEvaluation({ProgressResponse("1")}));
    ExpectPrinted(Contenders::ready + PrintedCount(0), tool.Wait());
    EXPECT_EQ("lockfile ", Requests());
}

// The agent answers no request until all tools but one have ended.
void Round(size_t number, bool isLast) {
    std::filesystem::remove(ScriptedAgent::request);
    auto agent = std::make_unique<ScriptedAgent>(AgentScript().AwaitRequest().AwaitRequest());
    Contenders contenders(number);
    contenders.Release();
    agent->AwaitRequests(1);
    Owners const owners = AwaitRefusals(contenders);
    ASSERT_EQ(1u, owners.size());
    EXPECT_EQ(OpenRequest("url", "doc", "0"), ReadBytes(ScriptedAgent::request));
    EXPECT_EQ("lockfile request.xml ", Requests());
    EXPECT_EQ(1u, agent->Requests().size());
    agent.reset();
    if (isLast)
        ExpectAnswered(*owners[0]);
    else
        owners[0]->Kill(SIGKILL);
    owners[0]->Wait();
    EXPECT_FALSE(IsLocked());
}

void Rounds(size_t rounds, size_t tools) {
    CountTestCasesInSandbox({.limit = std::chrono::minutes(4)}, [=] {
        for (size_t round = 0; round < rounds && !testing::Test::HasFailure(); ++round) {
            SCOPED_TRACE("round " + std::to_string(round) + " of " + std::to_string(tools));
            Round(tools, round + 1 == rounds);
        }
        return rounds;
    });
}

TEST(QuickContention, OneOfTwoToolsRuns) { Rounds(3, 2); }

TEST(QuickContention, OneOfEightToolsRuns) { Rounds(1, 8); }

// Ten rounds at a time, so an interrupted run can resume.
class FullContention : public testing::TestWithParam<std::tuple<size_t, int>> {};

TEST_P(FullContention, OneToolRuns) { Rounds(10, std::get<size_t>(GetParam())); }

INSTANTIATE_TEST_SUITE_P(FullHundredRounds, FullContention,
                         testing::Combine(testing::Values<size_t>(2, 8, 64), testing::Range(0, 10)),
                         [](auto const& test) {
                             return std::to_string(std::get<size_t>(test.param)) + "Tools" +
                                    std::to_string(std::get<int>(test.param));
                         });

} // namespace
