// Responses of hostile size and shape: the stated code, memory within its bounds, and a cost that
// grows no faster than the document.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "compliance/ClientCompliance.h"
#include "compliance/Compliance.h"
#include "compliance/ExchangeLoop.h"
#include "compliance/RequestDocument.h"
#include "compliance/ResponseDocument.h"
#include "tests/support/PrivateMachine.h"
#include "tests/support/Sanitizers.h"
#include "tests/system/Documents.h"
#include "tests/system/Tool.h"
#include "tests/torture/AgentWhileSleeping.h"
#include "tests/torture/Cells.h"
#include "tests/torture/HostileDocuments.h"
#include "tests/torture/LongEvaluation.h"

namespace {

namespace fs = std::filesystem;
using Torture::HostileDocument;
using Torture::HostileDocumentOf;
using Torture::HostileDocuments;

constexpr std::size_t gibibyte = std::size_t{1} << 30;
constexpr std::size_t kibibyte = 1024;

// What a program holds before it reads anything.
constexpr std::size_t ofProgram = 4096 * kibibyte;

std::size_t MemoryOfMachine() {
    return static_cast<std::size_t>(sysconf(_SC_PHYS_PAGES)) *
           static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

#define CC_SKIP_BELOW_8_GIB()                                                \
    if (MemoryOfMachine() < 8 * gibibyte)                                    \
    GTEST_SKIP() << "FULL SIZES NEED 8 GiB OF MEMORY, and this machine has " \
                 << MemoryOfMachine() / gibibyte

std::vector<std::string> LinesOf(std::string const& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

void ExpectMemoryWithin(HostileDocument const& document, std::size_t n, std::size_t used) {
    std::cout << document.name << ", " << n << " units: " << used / kibibyte << " KiB, "
              << static_cast<double>(used) / static_cast<double>(n) << " bytes for each\n";
#ifndef CC_ADDRESS_SANITIZER
    double const most =
        document.maxBytes * static_cast<double>(n) + static_cast<double>(document.spare);
    if (document.maxBytes != 0) {
        EXPECT_LE(static_cast<double>(used), most);
    }
#endif
}

// Through the reader of responses, in a program of its own, on a small stack.
void ReadInProgram(HostileDocument const& document, std::size_t n) {
    PrivateMachine::Run({.limit = std::chrono::minutes(4)}, [&] {
        PrivateMachine::CreateAgentDirectories();
        std::string const path = "/var/opt/VeskaClient/ResponseDir/hostile.xml";
        document.Write(path, n);
        EXPECT_EQ(document.Bytes(n), fs::file_size(path));
        ProgramResult const run =
            RunProgram({CC_DOCUMENT_READER, path}, {.limits = {{RLIMIT_STACK, 512 * kibibyte}}},
                       std::chrono::minutes(3));
        EXPECT_EQ(ExitStatus::Exited(0), run.status);
        std::vector<std::string> const lines = LinesOf(run.output);
        ASSERT_EQ(3u, lines.size()) << run.output << run.errors;
        EXPECT_EQ(document.Outcome(n), lines[0]);
        ExpectMemoryWithin(document, n, std::stoul(lines[1]) * kibibyte);
    });
}

class DocumentOf : public testing::TestWithParam<HostileDocument> {};

std::string NameOf(testing::TestParamInfo<HostileDocument> const& test) { return test.param.name; }

TEST(QuickDocuments, OfAHundredthAreReadInBounds) {
    for (HostileDocument const& document : HostileDocuments())
        ReadInProgram(document, document.full / 100);
    Torture::CountCells(HostileDocuments().size());
}

class FullDocuments : public DocumentOf {};

TEST_P(FullDocuments, IsReadInBounds) {
    CC_SKIP_BELOW_8_GIB();
    ReadInProgram(GetParam(), GetParam().full);
}

INSTANTIATE_TEST_SUITE_P(FullSize, FullDocuments, testing::ValuesIn(HostileDocuments()), NameOf);

bool WriteToNothing() {
    int const nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
    return nothing >= 0 && dup2(nothing, STDOUT_FILENO) >= 0;
}

// An agent that takes the requests away leaves the old response as the answer to each of them.
class FullDocumentsOfTool : public DocumentOf {};

TEST_P(FullDocumentsOfTool, IsReadInBounds) {
    CC_SKIP_BELOW_8_GIB();
    HostileDocument const& document = GetParam();
    PrivateMachine::Run({.limit = std::chrono::minutes(4)}, [&] {
        PrivateMachine::CreateAgentDirectories();
        document.Write(ScriptedAgent::response, document.full);
        AgentScript script;
        for (int i = 0; i < 3; ++i)
            script.AwaitRequest().RemoveRequest();
        ScriptedAgent const agent(script);
        ProgramResult const run =
            RunProgram({CC_TOOL_PROGRAM, "-d"},
                       {.limits = {{RLIMIT_STACK, 512 * kibibyte}}, .prepare = WriteToNothing},
                       std::chrono::minutes(3));
        EXPECT_EQ(ExitStatus::Exited(0), run.status);
        EXPECT_EQ("", run.errors);
        // The open was answered, the progress and the close came.
        EXPECT_EQ(3u, agent.Requests().size());
        rusage usage{};
        getrusage(RUSAGE_CHILDREN, &usage);
        ExpectMemoryWithin(document, document.full,
                           static_cast<std::size_t>(usage.ru_maxrss) * kibibyte - ofProgram);
    });
}

INSTANTIATE_TEST_SUITE_P(FullSize, FullDocumentsOfTool,
                         testing::Values(HostileDocumentOf("Levels"), HostileDocumentOf("Rows"),
                                         HostileDocumentOf("Attributes"), HostileDocumentOf("Text"),
                                         HostileDocumentOf("Escapes")),
                         NameOf);

// What a prefix gives: by the exchange, too, which makes all its looks.
void ExpectBrokenOff(std::string const& prefix) {
    SCOPED_TRACE("the first " + std::to_string(prefix.size()) + " bytes");
    WriteBytes(ScriptedAgent::response, prefix);
    EXPECT_THROW(ClientComplianceResponseIORead(), ClientComplianceResponseReadFailure);
    ClientComplianceRequest request = CreateComplianceRequestProgress();
    ClientComplianceResponse response(ClientComplianceProgress);
    EXPECT_EQ(COMPLIANCE_ERROR_BAD_RESPONSE, ClientComplianceIO(request, response));
    EXPECT_EQ(0u, response.GetComplianceCount());
    EXPECT_EQ(prefix, ReadBytes(ScriptedAgent::response));
}

TEST(QuickDocuments, EveryPrefixOfAResponseIsBrokenOff) {
    std::size_t prefixes = 0;
    std::string const documents[] = {OpenAnswer(), ProgressAnswer("3", "0", "40"),
                                     Torture::FinishedAnswer()};
    for (std::string const& whole : documents)
        prefixes += whole.size();
    PrivateMachine::RunWithDirectories([&] {
        AgentScript script;
        for (std::size_t request = 0; request < prefixes; ++request)
            script.AwaitRequest().RemoveRequest();
        Torture::AgentWhileSleeping const agent(script);
        for (std::string const& whole : documents) {
            for (std::size_t size = 0; size < whole.size() && !testing::Test::HasFailure(); ++size)
                ExpectBrokenOff(whole.substr(0, size));
            WriteBytes(ScriptedAgent::response, whole);
            EXPECT_NO_THROW(ClientComplianceResponseIORead());
        }
    });
    Torture::CountCells(prefixes);
}

TEST(QuickDocuments, EveryPrefixOfARequestIsNone) {
    std::string const whole = OpenRequest("http://x/&amp;&#xc3;", "doc", "7");
    PrivateMachine::Run([&] {
        PrivateMachine::CreateAgentDirectories();
        ClientComplianceRequest request = CreateComplianceRequestClose();
        for (std::size_t size = 0; size < whole.size(); ++size) {
            WriteBytes(ScriptedAgent::request, whole.substr(0, size));
            EXPECT_FALSE(ClientComplianceRequestIORead(request)) << size;
            EXPECT_EQ(ClientComplianceClose, request.type) << size;
        }
        WriteBytes(ScriptedAgent::request, whole);
        EXPECT_TRUE(ClientComplianceRequestIORead(request));
    });
    Torture::CountCells(whole.size());
}

#ifndef CC_ADDRESS_SANITIZER

double InstructionsOf(std::string const& process) {
    std::ifstream counts("/opt/counts." + process);
    for (std::string line; std::getline(counts, line);)
        if (line.starts_with("totals: "))
            return std::stod(line.substr(8));
    throw std::runtime_error("no instructions were counted");
}

// For each document, in the order of the files.
std::vector<double> CountInstructions(std::vector<std::string> const& files) {
    std::vector<std::string> command = {"/usr/bin/valgrind",
                                        "--tool=callgrind",
                                        "--toggle-collect=MeasuredRun",
                                        "--callgrind-out-file=/opt/counts.%p",
                                        CC_DOCUMENT_READER,
                                        "--arena"};
    command.insert(command.end(), files.begin(), files.end());
    // Names are looked up at the start, and not within what is counted.
    ProgramResult const run =
        RunProgram(command, {.environment = {{"LD_BIND_NOW=1"}}}, std::chrono::minutes(3));
    EXPECT_EQ(ExitStatus::Exited(0), run.status) << run.errors;
    std::vector<std::string> const lines = LinesOf(run.output);
    std::vector<double> counts;
    for (std::size_t i = 2; i < lines.size(); i += 3)
        counts.push_back(InstructionsOf(lines[i]));
    return counts;
}

// Units of one byte cost so little each that there must be more of them; and they are to fill many
// of the chunks in which a document is read.
std::size_t UnitsOf(HostileDocument const& document, std::size_t bytes) {
    std::size_t const ofUnit = document.Bytes(1) - document.Bytes(0);
    return ofUnit == 1 ? 16 * bytes : bytes / ofUnit;
}

// Documents of so many bytes, and of twice as many.
void ExpectLinearCost(std::vector<HostileDocument> const& documents, std::size_t bytes) {
    PrivateMachine::Run({.limit = std::chrono::minutes(4)}, [&] {
        PrivateMachine::CreateAgentDirectories();
        std::vector<std::string> files;
        for (HostileDocument const& document : documents)
            for (std::size_t const times : {1, 2}) {
                files.push_back("/var/opt/VeskaClient/" + std::to_string(files.size()));
                document.Write(files.back(), UnitsOf(document, bytes) * times);
            }
        std::vector<double> const counts = CountInstructions(files);
        ASSERT_EQ(files.size(), counts.size());
        for (std::size_t i = 0; i < documents.size(); ++i) {
            double const ratio = counts[2 * i + 1] / counts[2 * i];
            std::cout << documents[i].name << ": "
                      << counts[2 * i] / static_cast<double>(UnitsOf(documents[i], bytes))
                      << " instructions a unit, twice the size: " << ratio << " times as many\n";
            EXPECT_GT(counts[2 * i], 100'000) << documents[i].name << ": too few to tell";
            EXPECT_LT(ratio, 2.1) << documents[i].name;
        }
    });
}

TEST(QuickDocuments, CostGrowsAsTheDocumentDoes) {
    ExpectLinearCost(HostileDocuments(), 40 * kibibyte);
    Torture::CountCells(HostileDocuments().size());
}

class FullCost : public DocumentOf {};

TEST_P(FullCost, GrowsAsTheDocumentDoes) { ExpectLinearCost({GetParam()}, 1280 * kibibyte); }

INSTANTIATE_TEST_SUITE_P(FullSize, FullCost, testing::ValuesIn(HostileDocuments()), NameOf);

#endif

} // namespace
