// compliance-query and compliance-doctor, started with some of the standard file descriptors
// closed, with and without a /dev/null. Their output must not reach a file of the exchange.
#include "tests/companions/CompanionTest.h"
#include "tests/system/Documents.h"
#include "tests/system/Tool.h"

namespace {

constexpr char expectedRows[] =
    "designator\tresult\tresultType\tevaluationTime\tdescription\tcomment\n"
    "d\tr\tt\t1\tx\tc\n";
constexpr char progress[] = "compliance-query: asking the agent\n"
                            "compliance-query: closing the evaluation\n";
constexpr char outputFailed[] =
    "compliance-query: the rows could not be written: Bad file descriptor\n";

// Each bit of the first parameter closes one file descriptor; the second one is whether there is
// a /dev/null.
class ClosedDescriptorsTest : public testing::TestWithParam<std::tuple<int, bool>> {
protected:
    static bool IsClosed(int descriptor) {
        return (std::get<0>(GetParam()) >> descriptor & 1) != 0;
    }

    static ProgramOptions Options() {
        ProgramOptions options;
        for (int descriptor = 0; descriptor <= 2; ++descriptor)
            if (IsClosed(descriptor))
                options.closedDescriptors.push_back(descriptor);
        return options;
    }

    // The exchange has no files but the lock file and the response, with these bytes.
    static void ExpectFiles(std::string const& lock, std::string const& response) {
        EXPECT_EQ("lockfile ", ListDirectory(ScriptedAgent::requestDirectory));
        EXPECT_EQ(lock, ReadBytes(ScriptedAgent::lockFile));
        EXPECT_EQ(response, ReadBytes(ScriptedAgent::response));
    }

    static void OnAMachine(std::function<void()> const& body) {
        bool const hasDevNull = std::get<1>(GetParam());
        Sandbox::Options options;
        if (!hasDevNull)
            options.emptyPlaces = {"/dev"};
        Sandbox::Run(options, [&] {
            ASSERT_EQ(hasDevNull, fs::exists("/dev/null"));
            Sandbox::CreateAgentDirectories();
            body();
        });
    }
};

TEST_P(ClosedDescriptorsTest, QueryDoesNotWriteOutputToExchangeFiles) {
    OnAMachine([] {
        ScriptedAgent const agent(WholeEvaluation({OneRowResponse()}));
        ProgramResult const result =
            RunProgram({CC_QUERY_PROGRAM, "--tsv", "--progress=lines", "u", "d"}, Options());
        bool const outputClosed = IsClosed(STDOUT_FILENO);
        std::string const errors = std::string(progress) + (outputClosed ? outputFailed : "");
        ExpectExit(outputClosed ? 8 : 0, IsClosed(STDERR_FILENO) ? "" : errors, result);
        EXPECT_EQ(outputClosed ? "" : expectedRows, result.output);
        agent.AwaitEnd();
        Texts requests;
        for (SeenRequest const& request : agent.Requests())
            requests.push_back(request.bytes);
        EXPECT_THAT(requests,
                    ElementsAre(OpenRequest("u", "d", "0"), progressRequest, closeRequest));
        ExpectFiles("", CloseResponse());
    });
}

TEST_P(ClosedDescriptorsTest, DoctorDoesNotWriteOutputToExchangeFiles) {
    OnAMachine([] {
        ScriptedAgent agent;
        // Directories that every user may write to are a problem.
        for (char const* const file : {ScriptedAgent::request, ScriptedAgent::response})
            fs::permissions(fs::path(file).parent_path(), fs::perms(0755));
        WriteBytes(ScriptedAgent::lockFile, "lock");
        WriteBytes(ScriptedAgent::response, "response");
        ProgramResult const expected = RunProgram({CC_DOCTOR_PROGRAM});
        ProgramResult const result = RunProgram({CC_DOCTOR_PROGRAM}, Options());
        bool const outputClosed = IsClosed(STDOUT_FILENO);
        EXPECT_EQ(ExitStatus::Exited(0), expected.status);
        EXPECT_EQ(ExitStatus::Exited(outputClosed ? 1 : 0), result.status);
        EXPECT_EQ(outputClosed ? "" : expected.output, result.output);
        EXPECT_EQ(
            outputClosed && !IsClosed(STDERR_FILENO)
                ? "compliance-doctor: the findings could not be written: Bad file descriptor\n"
                : "",
            result.errors);
        ExpectFiles("lock", "response");
    });
}

INSTANTIATE_TEST_SUITE_P(ClosedDescriptorsTest, ClosedDescriptorsTest,
                         testing::Combine(testing::Range(0, 8), testing::Bool()),
                         [](auto const& param) {
                             std::string name = "Closed";
                             for (int descriptor = 0; descriptor <= 2; ++descriptor)
                                 if ((std::get<0>(param.param) >> descriptor & 1) != 0)
                                     name += std::to_string(descriptor);
                             return name + (std::get<1>(param.param) ? "" : "WithoutDevNull");
                         });

} // namespace
