// Responses of adversarial size and shape: the documented result, limited memory, and linear cost.
#include <cstdio>
#include <iostream>
#include <set>
#include <sstream>

#include "compliance/ClientCompliance.h"
#include "compliance/Compliance.h"
#include "compliance/ExchangeLoop.h"
#include "compliance/RequestDocument.h"
#include "compliance/ResponseDocument.h"
#include "tests/stress/AdversarialDocuments.h"
#include "tests/stress/AgentWhileSleeping.h"
#include "tests/stress/LongEvaluation.h"
#include "tests/stress/TestCases.h"

namespace {

constexpr std::size_t gibibyte = std::size_t{1} << 30;
constexpr std::size_t kibibyte = 1024;

// The memory of a program before it reads anything.
constexpr std::size_t ofProgram = 4096 * kibibyte;

std::size_t PhysicalMemory() {
    return static_cast<std::size_t>(sysconf(_SC_PHYS_PAGES)) *
           static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

void InFourMinutes(std::function<void()> const& body) {
    Sandbox::RunWithDirectories(body, {.limit = std::chrono::minutes(4)});
}

// The output of DocumentReader for a document.
struct Reading {
    std::string outcome;
    std::size_t kibibytes = 0;
    std::string process;
};

std::vector<Reading> ReadingsIn(std::string const& output) {
    std::istringstream lines(output);
    std::vector<Reading> readings;
    for (Reading reading; std::getline(lines, reading.outcome) &&
                          lines >> reading.kibibytes >> reading.process >> std::ws;)
        readings.push_back(reading);
    return readings;
}

void ExpectMemoryWithin(AdversarialDocument const& document, std::size_t n, std::size_t used) {
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

// Reads it in a program with a small stack.
void ReadInProgram(AdversarialDocument const& document, std::size_t n) {
    InFourMinutes([&] {
        std::string const path = "/var/opt/VeskaClient/ResponseDir/adversarial.xml";
        document.Write(path, n);
        EXPECT_EQ(document.Bytes(n), fs::file_size(path));
        ProgramResult const run =
            RunProgram({CC_DOCUMENT_READER, path}, {.limits = {{RLIMIT_STACK, 512 * kibibyte}}},
                       std::chrono::minutes(3));
        EXPECT_EQ(ExitStatus::Exited(0), run.status);
        auto const readings = ReadingsIn(run.output);
        ASSERT_EQ(1u, readings.size()) << run.output << run.errors;
        EXPECT_EQ(document.Outcome(n), readings[0].outcome);
        ExpectMemoryWithin(document, n, readings[0].kibibytes * kibibyte);
    });
}

class DocumentOf : public testing::TestWithParam<AdversarialDocument> {};

std::string NameOf(testing::TestParamInfo<AdversarialDocument> const& test) {
    return test.param.name;
}

TEST(QuickDocuments, AHundredthOfTheSizeIsReadWithinLimits) {
    for (AdversarialDocument const& document : AdversarialDocuments())
        ReadInProgram(document, document.full / 100);
    CountTestCases(AdversarialDocuments().size());
}

class FullDocuments : public DocumentOf {
protected:
    void SetUp() override {
        if (PhysicalMemory() < 8 * gibibyte)
            GTEST_SKIP() << "full sizes need 8 GiB of memory, and this computer has "
                         << PhysicalMemory() / gibibyte;
    }
};

TEST_P(FullDocuments, IsReadWithinLimits) { ReadInProgram(GetParam(), GetParam().full); }

INSTANTIATE_TEST_SUITE_P(FullSize, FullDocuments, testing::ValuesIn(AdversarialDocuments()),
                         NameOf);

bool WriteToNothing() {
    int const nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
    return nothing >= 0 && dup2(nothing, STDOUT_FILENO) >= 0;
}

std::vector<AdversarialDocument> DocumentsOfTool() {
    auto documents = AdversarialDocuments();
    std::erase_if(documents, [](auto const& document) {
        std::set<std::string> const names = {"Levels", "Rows", "Attributes", "Text", "Escapes"};
        return !names.contains(document.name);
    });
    return documents;
}

// The agent only takes requests, so the old response answers all of them.
class FullDocumentsOfTool : public FullDocuments {};

TEST_P(FullDocumentsOfTool, IsReadWithinLimits) {
    AdversarialDocument const& document = GetParam();
    InFourMinutes([&] {
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
        // The Open request was answered; the Progress and Close requests were sent.
        EXPECT_EQ(3u, agent.Requests().size());
        rusage usage{};
        getrusage(RUSAGE_CHILDREN, &usage);
        ExpectMemoryWithin(document, document.full,
                           static_cast<std::size_t>(usage.ru_maxrss) * kibibyte - ofProgram);
    });
}

INSTANTIATE_TEST_SUITE_P(FullSize, FullDocumentsOfTool, testing::ValuesIn(DocumentsOfTool()),
                         NameOf);

// The outcome of a prefix, also after all polls of an exchange.
void ExpectTruncated(std::string const& prefix) {
    SCOPED_TRACE("the first " + std::to_string(prefix.size()) + " bytes");
    WriteBytes(ScriptedAgent::response, prefix);
    EXPECT_THROW(ClientComplianceResponseIORead(), ClientComplianceResponseReadFailure);
    ClientComplianceRequest request = CreateComplianceRequestProgress();
    ClientComplianceResponse response(ClientComplianceProgress);
    EXPECT_EQ(COMPLIANCE_ERROR_BAD_RESPONSE, ClientComplianceIO(request, response));
    EXPECT_EQ(0u, response.GetComplianceCount());
    EXPECT_EQ(prefix, ReadBytes(ScriptedAgent::response));
}

TEST(QuickDocuments, RejectsEveryPrefixOfAResponse) {
    std::size_t prefixes = 0;
    std::string const documents[] = {OpenResponse(), ProgressResponse("3", "0", "40"),
                                     FinishedResponse()};
    for (std::string const& whole : documents)
        prefixes += whole.size();
    Sandbox::RunWithDirectories([&] {
        AgentScript script;
        for (std::size_t request = 0; request < prefixes; ++request)
            script.AwaitRequest().RemoveRequest();
        AgentWhileSleeping const agent(script);
        for (std::string const& whole : documents) {
            for (std::size_t size = 0; size < whole.size() && !testing::Test::HasFailure(); ++size)
                ExpectTruncated(whole.substr(0, size));
            WriteBytes(ScriptedAgent::response, whole);
            EXPECT_NO_THROW(ClientComplianceResponseIORead());
        }
    });
    CountTestCases(prefixes);
}

TEST(QuickDocuments, RejectsEveryPrefixOfARequest) {
    std::string const whole = OpenRequest("http://x/&amp;&#xc3;", "doc", "7");
    Sandbox::RunWithDirectories([&] {
        ClientComplianceRequest request = CreateComplianceRequestClose();
        for (std::size_t size = 0; size < whole.size(); ++size) {
            WriteBytes(ScriptedAgent::request, whole.substr(0, size));
            EXPECT_FALSE(ClientComplianceRequestIORead(request)) << size;
            EXPECT_EQ(ClientComplianceClose, request.type) << size;
        }
        WriteBytes(ScriptedAgent::request, whole);
        EXPECT_TRUE(ClientComplianceRequestIORead(request));
    });
    CountTestCases(whole.size());
}

#ifndef CC_ADDRESS_SANITIZER

double InstructionsOf(std::string const& process) {
    std::ifstream counts("/opt/counts." + process);
    for (std::string line; std::getline(counts, line);)
        if (line.starts_with("totals: "))
            return std::stod(line.substr(8));
    throw std::runtime_error("no instructions were counted");
}

// Returns the instructions for each file, in order.
std::vector<double> CountInstructions(std::vector<std::string> const& files) {
    std::vector<std::string> command = {"/usr/bin/valgrind",
                                        "--tool=callgrind",
                                        "--toggle-collect=MeasuredRun",
                                        "--callgrind-out-file=/opt/counts.%p",
                                        CC_DOCUMENT_READER,
                                        "--arena"};
    command.insert(command.end(), files.begin(), files.end());
    // Symbols are resolved at the start, outside of the counted part.
    ProgramResult const run =
        RunProgram(command, {.environment = {{"LD_BIND_NOW=1"}}}, std::chrono::minutes(3));
    EXPECT_EQ(ExitStatus::Exited(0), run.status) << run.errors;
    std::vector<double> counts;
    for (Reading const& reading : ReadingsIn(run.output))
        counts.push_back(InstructionsOf(reading.process));
    return counts;
}

// Single-byte units are so cheap that many are needed, and they have to fill many chunks of the
// reader.
std::size_t UnitsOf(AdversarialDocument const& document, std::size_t bytes) {
    std::size_t const ofUnit = document.Bytes(1) - document.Bytes(0);
    return ofUnit == 1 ? 16 * bytes : bytes / ofUnit;
}

// Compares documents of this size with documents of twice this size.
void ExpectLinearCost(std::vector<AdversarialDocument> const& documents, std::size_t bytes) {
    InFourMinutes([&] {
        std::vector<std::string> files;
        for (AdversarialDocument const& document : documents)
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
                      << " instructions for each unit, ratio at twice the size: " << ratio << '\n';
            EXPECT_GT(counts[2 * i], 100'000) << documents[i].name << ": too few to compare";
            EXPECT_LT(ratio, 2.1) << documents[i].name;
        }
    });
}

TEST(QuickDocuments, CostIsLinearInSize) {
    ExpectLinearCost(AdversarialDocuments(), 40 * kibibyte);
    CountTestCases(AdversarialDocuments().size());
}

class FullCost : public DocumentOf {};

TEST_P(FullCost, IsLinearInSize) { ExpectLinearCost({GetParam()}, 1280 * kibibyte); }

INSTANTIATE_TEST_SUITE_P(FullSize, FullCost, testing::ValuesIn(AdversarialDocuments()), NameOf);

#endif

} // namespace
