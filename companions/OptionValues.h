// Parses values of options and settings. Parameters named `rules` are the options of the program.
#pragma once

#include <chrono>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "companions/Arguments.h"
#include "companions/Color.h"

// A value that is not accepted. what() is the value in quotes, not escaped, and the reason, such as
// "'a,,b' has an empty entry".
class ValueError : public std::runtime_error {
public:
    // `reason` is a predicate, such as "has 'a' twice".
    explicit ValueError(std::string const& value, std::string const& reason = "is not accepted");
};

// Descriptions of the accepted values, for OptionRule::accepted.
inline constexpr char acceptedResults[] = "a comma-separated list of results";
inline constexpr char acceptedDuration[] =
    "a time from 1 second to 2147483647 seconds, such as 90, 90s, 5m or 2h";
inline constexpr char acceptedFile[] = "a regular file, or a new name in a directory that exists";
inline constexpr char acceptedColor[] = "auto, always or never";

// Removes spaces and tabs at both ends.
std::string TrimSpaces(std::string_view text);

// Parses a decimal number without a sign. Returns nullopt if the text is anything else, or if the
// number is out of range.
std::optional<long long> ParseNumber(std::string_view text);

// Each throws ValueError for a value that is not accepted. ParseList returns the trimmed entries of
// a comma-separated list; an empty or repeated entry is an error.
std::vector<std::string> ParseList(std::string const& list);
std::chrono::seconds ParseDuration(std::string const& value);
ColorMode ParseColor(std::string const& value);
// Checks that a ResultFile can have this path, and returns it unchanged.
std::string ParseFile(std::string const& path);

// Throws a CommandLineError with the option, the problem and the accepted values. `problem` has the
// form of the what() of a ValueError.
//
// REQUIRES: a rule has the name `option`, and describes the accepted values.
[[noreturn]] void RefuseOption(std::span<OptionRule const> rules, std::string_view option,
                               std::string const& problem);

// Returns `parse(value)`. Converts a ValueError to the CommandLineError of the option.
template <typename Parse>
auto ParseOption(std::span<OptionRule const> rules, char const* option, std::string const& value,
                 Parse const& parse) {
    try {
        return parse(value);
    } catch (ValueError const& error) { // GCOVR_EXCL_BR_LINE: others are bad_alloc
        RefuseOption(rules, option, error.what());
    }
}

// Parses all values of the option, and stores the last one in `target`, which is unchanged without
// the option. Throws CommandLineError if any value is not accepted.
template <typename Parse, typename Target>
void ReadLast(std::span<OptionRule const> rules, Arguments const& arguments, char const* option,
              Parse const& parse, Target& target) {
    for (std::string const& value : arguments.Values(option))
        target = ParseOption(rules, option, value, parse);
}

// Returns the union of the lists in all values of the option, without duplicates. Throws
// CommandLineError if any value is not accepted.
std::vector<std::string> ReadResults(std::span<OptionRule const> rules, Arguments const& arguments,
                                     char const* option);
