// The command line: which arguments are invalid, and which make a request.
#include "tests/system/ToolTest.h"

namespace {

// Deliberate: "0 to 7" despite the flag 8, and backslashes.
constexpr char usage[] =
    "Usage: \n"
    "       ClientCompliance -d\n"
    "       ClientCompliance -c <url> <doc> [<numeric flags>]\n"
    "  where:\n"
    "    <url> is a site gather url the VeskaClient is subscribed.\n"
    "    <doc> is the name of the compliance document to process.\n"
    "  sample:\n"
    "    ClientCompliance -c http://example.com:52311/cgi-bin/qzgather.exe/actionsite"
    " ComplianceDoc.xml\n"
    "  note:\n"
    "    in this example <doc> would be in the __VeskaData\\actionsite\\__Compliance folder.\n"
    "    flags = a number from 0 to 7 (the sum of the following values).\n"
    "          = 1 - COMPLIANCE_FLAG_GATHER         - gather all sites.\n"
    "          = 2 - COMPLIANCE_FLAG_EVALUATE_ALL   - evaluate all pellars.\n"
    "          = 4 - COMPLIANCE_FLAG_IDLE_CPU_USAGE - use IDLE cpu resource level.\n"
    "          = 8 - COMPLIANCE_FLAG_ACTIONHINT     - treat <doc> arg as action id hint.\n";

// Commands that begin with `start`, each with another last argument.
std::vector<Arguments> WithLast(Arguments start, std::vector<std::string> const& lastOnes) {
    std::vector<Arguments> commands;
    start.emplace_back();
    for (std::string const& last : lastOnes)
        commands.emplace_back(start).back() = last;
    return commands;
}

void ExpectForEach(std::vector<Arguments> const& commands, std::string const& output, int status) {
    for (Arguments const& arguments : commands) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        ExpectPrinted(output, RunTool(arguments), status);
    }
}

// Also verifies that there are no side effects: a request would first create the lock file.
void ExpectUsage(std::vector<Arguments> const& commands) {
    Sandbox::RunWithDirectories([&] {
        ExpectForEach(commands, usage, 255);
        EXPECT_EQ("", Requests());
    });
}

// Without the agent's directories every request is refused immediately.
void ExpectRequest(std::vector<Arguments> const& commands) {
    Sandbox::Run([&] { ExpectForEach(commands, OpenError(-6), 0); });
}

TEST(UsageTest, AcceptsOnlySwitchDAsSingleArgument) {
    ExpectRequest({{"-d"}});
    ExpectUsage({{}});
    ExpectUsage(WithLast({}, {"-c", "", "-", "--", "-D", "-d ", " -d", "-dd", "--d", "-x", "d",
                              "-h", "--help", "/d"}));
}

TEST(UsageTest, SwitchCTakesTwoOrThreeOperands) {
    ExpectRequest({{"-c", "url", "doc"}, {"-c", "", ""}, {"-c", "-c", "-c"}, {"-c", "-d", "%s%n"}});
    ExpectUsage({{"-d", "url"},
                 {"-c", "url"},
                 {"-d", "-d"},
                 {"url", "doc"},
                 {"", ""},
                 {"-c", "url", "doc", "0", "0"},
                 {"-c", "url", "doc", "0", ""},
                 {"-d", "-d", "-d", "-d", "-d"},
                 {"-c", "url", "doc", "0", "0", "0", "0"},
                 Arguments(1000, "-c")});
}

TEST(UsageTest, OperandsNeedSwitchCAsFirstArgument) {
    ExpectUsage({{"-d", "url", "doc"},
                 {"-C", "url", "doc"},
                 {"-cc", "url", "doc"},
                 {"-c ", "url", "doc"},
                 {"", "url", "doc"},
                 {"url", "-c", "doc"},
                 {"-d", "url", "doc", "0"},
                 {"url", "doc", "0", "-c"}});
}

// RequestBytesTest tests the valid flags.
TEST(UsageTest, RejectsFlagsOutsideOf0To15) {
    ExpectUsage(WithLast({"-c", "url", "doc"}, {"16", "17", "+16", " 16x", "0016", "-1", "-15",
                                                "255", "2147483647", "-2147483648"}));
}

TEST(UsageTest, PrintsFixedProgramName) {
    Sandbox::Run([] {
        std::filesystem::create_symlink(CC_TOOL_PROGRAM, "/opt/other-name");
        ExpectPrinted(usage, RunProgram({"/opt/other-name"}), 255);
    });
}

TEST(UsageTest, IgnoresEnvironmentAndInput) {
    Sandbox::Run([] {
        std::vector<std::string> const environment = {"LC_ALL=de_DE.UTF-8", "POSIXLY_CORRECT=1"};
        ExpectPrinted(usage, RunTool({"-h"}, {.input = "-d\n", .environment = environment}), 255);
    });
}

} // namespace
