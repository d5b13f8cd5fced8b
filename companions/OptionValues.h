// Values of options and settings, from text, and the options that have them. `rules` are those of
// the program.
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

// A value that is not accepted. One line: the value in quotes and what is wrong with it, such as
// "'a,,b' has an empty entry".
class ValueError : public std::runtime_error {
public:
    // `reason` is a verb with its complement, such as "has 'a' twice".
    explicit ValueError(std::string const& value, std::string const& reason = "is not accepted");
};

// What the functions below accept, in words.
inline constexpr char acceptedResults[] = "a list of results with commas between";
inline constexpr char acceptedDuration[] =
    "a time from 1 second to 2147483647 seconds, such as 90, 90s, 5m or 2h";
inline constexpr char acceptedFile[] = "a regular file, or a new name in a directory that exists";
inline constexpr char acceptedColor[] = "auto, always or never";

// Removes spaces and tabs at both ends.
std::string TrimSpaces(std::string_view text);

// The whole text as a decimal number without a sign; nothing for any other text.
std::optional<long long> ParseNumber(std::string_view text);

// The others throw ValueError. Entries of lists are trimmed; none is empty or repeated.
std::vector<std::string> ParseList(std::string const& list);
std::chrono::seconds ParseDuration(std::string const& value);
ColorMode ParseColor(std::string const& value);
// The path of a result file (ResultFile.h), unchanged.
std::string ParseFile(std::string const& path);

// Throws the CommandLineError of a value that is not accepted; `problem` is the text of a
// ValueError.
//
// REQUIRES: a rule has the name `option`.
[[noreturn]] void RefuseOption(std::span<OptionRule const> rules, std::string_view option,
                               std::string const& problem);

template <typename Parse>
auto ParseOption(std::span<OptionRule const> rules, char const* option, std::string const& value,
                 Parse const& parse) {
    try {
        return parse(value);
    } catch (ValueError const& error) {
        RefuseOption(rules, option, error.what());
    }
}

// Stores the last value of the option, if there is one. An earlier one is parsed too, because a
// wrong value is a mistake in any place.
template <typename Parse, typename Target>
void ReadLast(std::span<OptionRule const> rules, Arguments const& arguments, char const* option,
              Parse const& parse, Target& target) {
    for (std::string const& value : arguments.Values(option))
        target = ParseOption(rules, option, value, parse);
}

// Returns the results in all values of the option, each one once.
std::vector<std::string> ReadResults(std::span<OptionRule const> rules, Arguments const& arguments,
                                     char const* option);
