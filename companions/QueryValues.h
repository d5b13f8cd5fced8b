// Values of options and settings that only compliance-query has, from text.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "companions/OptionValues.h"

enum class ProgressStyle { automatic, bar, lines, none };

// What the functions below accept, in words.
constexpr char acceptedFlags[] =
    "gather, all, idle or hint, with commas between, or a number from 0 to 15";
constexpr char acceptedProgress[] = "auto, bar, lines or none";
constexpr char acceptedFields[] =
    "designator, result, resultType, evaluationTime, description or comment";

// All of them throw ValueError. Entries of lists are trimmed; none is empty or repeated.

// The sum of the COMPLIANCE_FLAG_ values.
unsigned int ParseFlags(std::string const& list);
ProgressStyle ParseProgress(std::string const& value);
// The index of a field of a row.
std::size_t ParseField(std::string const& name);
std::vector<std::size_t> ParseFields(std::string const& list);
