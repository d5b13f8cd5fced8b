// VeskaClient, the stand-in agent: responds to compliance requests according to a scenario file.
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <signal.h>
#include <string>

#include "demo/Scenario.h"
#include "demo/StandInAgent.h"

namespace {

volatile std::sig_atomic_t stop = 0;

// clang-format off
constexpr char usage[] =
    "Usage: VeskaClient SCENARIO\n"
    "       VeskaClient --check SCENARIO\n"
    "       VeskaClient --help | --version\n"
    "\n"
    "Stands in for the endpoint agent: answers compliance requests as the file\n"
    "SCENARIO describes, until SIGTERM or SIGINT.\n"
    "\n"
    "Options:\n"
    "  --check               check the scenario, and exit\n"
    "  --help                show this help\n"
    "  --version             show the version\n"
    "\n"
    "Exit statuses:\n"
    "    0  SIGTERM or SIGINT stopped the program, or the check found no error\n"
    "    1  the scenario is invalid or unreadable, another process has the agent's\n"
    "       name, or a directory or text cannot be written\n"
    "    2  the command line is invalid\n"
    "\n"
    "Manual page: VeskaClient(1)\n";
// clang-format on

void CatchStopSignals() {
    struct sigaction action {};
    action.sa_handler = [](int) {
        stop = 1;
    };
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

Scenario LoadScenario(char const* name) {
    std::ifstream file(name, std::ios::binary);
    std::string text;
    for (char c; file.get(c);)
        text += c;
    if (!file.is_open() || file.bad())
        throw ScenarioError(std::string(name) + ": cannot be read");
    return ParseScenario(text, name);
}

int Serve(Scenario const& scenario) {
    if (pid_t const other = OtherAgent()) {
        static_cast<void>(std::fprintf(
            stderr, "VeskaClient: process %d has the name of the agent; stop it first\n",
            static_cast<int>(other)));
        return 1;
    }
    CatchStopSignals();
    // Line-buffered, to show each line at once if the output is a pipe.
    static_cast<void>(std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ));
    StandInAgent(scenario, stop).Serve();
    return 0;
}

// Returns the text for --help or --version, or null for other arguments.
char const* InformationFor(int count, char** arguments) {
    if (count == 2 && std::strcmp(arguments[1], "--help") == 0)
        return usage;
    if (count == 2 && std::strcmp(arguments[1], "--version") == 0)
        return "VeskaClient (stand-in agent) " CC_VERSION "\n";
    return nullptr;
}

int Run(int count, char** arguments) {
    if (char const* const information = InformationFor(count, arguments)) {
        static_cast<void>(std::fputs(information, stdout));
        static_cast<void>(std::fflush(stdout));
        return std::ferror(stdout) == 0 ? 0 : 1;
    }
    bool const check = count == 3 && std::strcmp(arguments[1], "--check") == 0;
    if (!check && (count != 2 || arguments[1][0] == '-')) {
        static_cast<void>(std::fputs(usage, stderr));
        return 2;
    }
    Scenario const scenario = LoadScenario(arguments[count - 1]);
    return check ? 0 : Serve(scenario);
}

} // namespace

int main(int count, char** arguments) {
    try {
        return Run(count, arguments);
    } catch (std::exception const& error) { // GCOVR_EXCL_BR_LINE: there is no other
        static_cast<void>(std::fprintf(stderr, "VeskaClient: %s\n", error.what()));
        return 1;
    }
}
