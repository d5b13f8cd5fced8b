// Parses values of options and settings that only compliance-query has.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "companions/OptionValues.h"

enum class ProgressStyle { automatic, bar, lines, none };

// Descriptions of the accepted values, for OptionRule::accepted.
constexpr char acceptedFlags[] =
    "a comma-separated list of gather, all, idle, hint or numbers from 0 to 15";
constexpr char acceptedProgress[] = "auto, bar, lines or none";
constexpr char acceptedFields[] =
    "designator, result, resultType, evaluationTime, description or comment";

// Each function throws ValueError for a value that is not accepted. Entries of lists are trimmed;
// an empty or repeated entry is an error.

// Returns the bitwise OR of COMPLIANCE_FLAG_ values.
unsigned int ParseFlags(std::string const& list);
ProgressStyle ParseProgress(std::string const& value);
// Returns the index of a field of a row, by its name.
std::size_t ParseField(std::string const& name);
std::vector<std::size_t> ParseFields(std::string const& list);
