#include "companions/DoctorReport.h"

#include <algorithm>
#include <array>

#include <nlohmann/json.hpp>

#include "companions/Output.h"
#include "companions/VisibleText.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<char const*, 4> verdictNames = {"ok", "note", "problem", "skipped"};

std::string NameOf(Verdict verdict) { return verdictNames[static_cast<std::size_t>(verdict)]; }

// Command names and paths of processes can contain arbitrary bytes.
Json MakeObject(Finding const& finding) {
    Json object = {{"check", finding.check}, {"verdict", NameOf(finding.verdict)}};
    if (!finding.cause.empty())
        object["cause"] = finding.cause;
    object["message"] = MakeVisible(finding.message);
    if (!finding.remedy.empty())
        object["remedy"] = finding.remedy;
    if (finding.processId)
        object["processId"] = *finding.processId;
    if (finding.ageInSeconds)
        object["ageInSeconds"] = *finding.ageInSeconds;
    return object;
}

} // namespace

bool HasProblem(Findings const& findings) {
    return std::ranges::find(findings, Verdict::problem, &Finding::verdict) != findings.end();
}

void WriteText(Findings const& findings, Output& output) {
    for (Finding const& finding : findings) {
        std::string line = NameOf(finding.verdict);
        line.resize(9, ' ');
        line += finding.check + ": " + MakeVisible(finding.message, output.Characters());
        if (!finding.remedy.empty())
            line += ". Remedy: " + finding.remedy;
        output.Write(line + ".\n");
    }
}

void WriteJson(Findings const& findings, Output& output) {
    Json checks = Json::array();
    for (Finding const& finding : findings)
        checks.push_back(MakeObject(finding));
    bool const isHealthy = !HasProblem(findings);
    Json const document = {
        {"schemaVersion", doctorSchemaVersion}, {"healthy", isHealthy}, {"checks", checks}};
    // ASCII only on a terminal, which may not use UTF-8.
    output.Write(document.dump(2, ' ', output.IsTerminal()) + "\n");
}
