// Values of options and settings, from text.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "companions/TableRows.h"

// A value that is not accepted. One line: the value in quotes and what is wrong with it, such as
// "'a,,b' has an empty entry".
class ValueError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class ProgressStyle { automatic, bar, lines, none };

// What the functions below accept, in words.
constexpr char acceptedFlags[] =
    "gather, all, idle or hint, with commas between, or a number from 0 to 15";
constexpr char acceptedResults[] = "a list of results with commas between";
constexpr char acceptedDuration[] =
    "a time from 1 second to 2147483647 seconds, such as 90, 90s, 5m or 2h";
constexpr char acceptedProgress[] = "auto, bar, lines or none";
constexpr char acceptedColor[] = "auto, always or never";
constexpr char acceptedFields[] =
    "designator, result, resultType, evaluationTime, description or comment";
constexpr char acceptedFile[] = "a regular file, or a new name in a directory that exists";

std::string TrimSpaces(std::string_view text);

// The whole text as a decimal number without a sign; nothing for any other text.
std::optional<long long> ParseNumber(std::string_view text);

// All of them throw ValueError. Entries of lists are trimmed; none is empty or repeated.
std::vector<std::string> ParseResults(std::string const& list);
// The sum of the COMPLIANCE_FLAG_ values.
unsigned int ParseFlags(std::string const& list);
std::chrono::seconds ParseDuration(std::string const& value);
ProgressStyle ParseProgress(std::string const& value);
ColorMode ParseColor(std::string const& value);
// The index of a field of a row.
std::size_t ParseField(std::string const& name);
std::vector<std::size_t> ParseFields(std::string const& list);
// The path of a result file (ResultFile.h), unchanged.
std::string ParseFile(std::string const& path);
