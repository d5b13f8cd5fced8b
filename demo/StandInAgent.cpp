#include "demo/StandInAgent.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "compliance/AgentPaths.h"
#include "compliance/AgentPresence.h"
#include "compliance/ProcessNames.h"
#include "compliance/RequestDocument.h"
#include "compliance/ResponseDocument.h"
#include "data/StringReceiver.h"
#include "files/FileLocation.h"
#include "files/FileOperations.h"
#include "files/FileRetry.h"
#include "files/FileTrees.h"
#include "files/FileWriter.h"
#include "files/FileWritingPath.h"
#include "files/ReadFile.h"

namespace {

constexpr unsigned int pollInterval = 20; // milliseconds

std::string ReadRequestText() {
    std::string text;
    StringReceiver receiver;
    ReadFile(MakeFileLocation(AgentPaths::request), receiver(text), 0);
    return text;
}

// Prints the lines of the document, each after a bar.
void ShowDocument(std::string const& text) {
    std::printf("VeskaClient: a request:\n");
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t const end = std::min(text.find("\r\n", start), text.size());
        std::printf("  | %s\n", text.substr(start, end - start).c_str());
        start = end + 2;
    }
}

// Publishes a document that ends inside its root.
void PublishGarbage() {
    {
        FileWritingPath path(MakeFileLocation(AgentPaths::temporaryResponse),
                             FileWritingPath::OpenNewFileOrAsNewFile());
        FileWriter writer(path, 0);
        writer << ConstData("<VeskaClientComplianceResponse Version=\"1.0\">\r\n\t<Resp");
    }
    ForceMoveFileWithRetry(MakeFileLocation(AgentPaths::temporaryResponse),
                           MakeFileLocation(AgentPaths::response), FileRetryLog());
}

} // namespace

pid_t OtherAgent() {
    pid_t found = 0;
    AnyProcess([&found](unsigned int process) {
        auto const id = static_cast<pid_t>(process);
        if (id != getpid() && UnixPlatform::HasAgentName(process))
            found = id;
        return found != 0;
    });
    return found;
}

StandInAgent::StandInAgent(Scenario const& theScenario, volatile std::sig_atomic_t const& stopFlag)
    : scenario(theScenario), stop(stopFlag) {}

void StandInAgent::Serve() {
    CreateDirectoryTree(MakeFileLocation(AgentPaths::requestDirectory));
    CreateDirectoryTree(MakeFileLocation(AgentPaths::responseDirectory));
    std::printf("VeskaClient: ready\n");
    while (stop == 0) {
        if (FindNewRequest())
            HandleRequest();
        Sleep(pollInterval);
    }
    std::printf("VeskaClient: stopped\n");
}

// A request that was not removed keeps its inode and time. If the tool replaces it, one of them
// differs.
std::optional<StandInAgent::Identity> StandInAgent::Look() {
    struct stat stats;
    if (lstat(AgentPaths::request, &stats) != 0)
        return std::nullopt;
    return Identity{stats.st_ino, stats.st_mtim.tv_sec, stats.st_mtim.tv_nsec};
}

bool StandInAgent::FindNewRequest() {
    std::optional<Identity> const found = Look();
    if (!found || *found == left)
        return false;
    present = *found;
    return true;
}

void StandInAgent::HandleRequest() {
    try {
        ClientComplianceRequest request = CreateComplianceRequestProgress();
        if (!ClientComplianceRequestIORead(request)) {
            std::printf("VeskaClient: request.xml cannot be read as a request\n");
            left = present;
            return;
        }
        ShowDocument(ReadRequestText());
        HandleStep(NextStep(request.type), request.type);
    } catch (std::exception const& error) { // GCOVR_EXCL_BR_LINE: there is no other
        std::printf("VeskaClient: %s\n", error.what());
        left = present;
    } catch (ClientComplianceResponseIOWriteFailure const&) {
        std::printf("VeskaClient: the response could not be written\n");
        left = present;
    }
}

ScenarioStep const& StandInAgent::NextStep(ClientComplianceType type) {
    if (type == ClientComplianceOpen) {
        progressStep = 0;
        return scenario.open;
    }
    if (type == ClientComplianceClose)
        return scenario.close;
    std::size_t const step = std::min(progressStep, scenario.progress.size() - 1);
    ++progressStep;
    return scenario.progress[step];
}

// Publishes the response before it removes the request, because the tool reads the response once
// the request is removed.
void StandInAgent::HandleStep(ScenarioStep const& step, ClientComplianceType type) {
    Sleep(step.delay);
    if (stop != 0)
        return;
    if (Look() != present) {
        std::printf("VeskaClient: the request was removed or replaced\n");
        return;
    }
    switch (step.kind) { // GCOVR_EXCL_BR_LINE: there is no other kind
    case ScenarioStep::Silence:
        std::printf("VeskaClient: ignored\n");
        left = present;
        return;
    case ScenarioStep::Answer:
        ClientComplianceResponseIOWrite(step.response);
        std::printf("VeskaClient: answered %s\n",
                    type == ClientComplianceProgress ? "the progress" : "it");
        break;
    case ScenarioStep::Garbage:
        PublishGarbage();
        std::printf("VeskaClient: answered with garbage\n");
        break;
    case ScenarioStep::Vanish:
        std::printf("VeskaClient: taken without a response\n");
        break;
    }
    ClientComplianceRequestIORelease();
}

// Sleeps in short intervals, because a signal just before a sleep does not end that sleep.
void StandInAgent::Sleep(unsigned int milliseconds) const {
    while (milliseconds > 0 && stop == 0) {
        unsigned int const interval = std::min(milliseconds, pollInterval);
        timespec const pause{0, static_cast<long>(interval) * 1000000};
        nanosleep(&pause, nullptr);
        milliseconds -= interval;
    }
}
