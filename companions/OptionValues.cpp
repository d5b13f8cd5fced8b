#include "companions/OptionValues.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <utility>

#include "companions/ResultFile.h"

namespace {

bool Contains(std::vector<std::string> const& texts, std::string const& text) {
    return std::ranges::find(texts, text) != texts.end();
}

// Removes the unit, if there is one, from the end of the text. Returns the number of seconds of the
// unit, or 1 without one.
long long TakeUnit(std::string_view& text) {
    constexpr std::array units = {std::pair{'s', 1}, std::pair{'m', 60}, std::pair{'h', 3600}};
    for (auto const& [letter, unitSeconds] : units) {
        if (text.ends_with(letter)) {
            text.remove_suffix(1);
            return unitSeconds;
        }
    }
    return 1;
}

} // namespace

ValueError::ValueError(std::string const& value, std::string const& reason)
    : std::runtime_error("'" + value + "' " + reason) {}

std::string TrimSpaces(std::string_view text) {
    std::size_t const start = text.find_first_not_of(" \t");
    std::size_t const end = text.find_last_not_of(" \t");
    return start == std::string::npos ? "" : std::string(text.substr(start, end - start + 1));
}

std::optional<long long> ParseNumber(std::string_view text) {
    long long number = 0;
    char const* const end = text.data() + text.size();
    auto const [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end || text.starts_with('-'))
        return {};
    return number;
}

// Refuses an empty entry, because it is probably an unset variable of a script.
std::vector<std::string> ParseList(std::string const& list) {
    std::vector<std::string> entries;
    for (std::size_t start = 0; start <= list.size();) {
        std::size_t const comma = std::min(list.find(',', start), list.size());
        std::string const entry = TrimSpaces(list.substr(start, comma - start));
        if (entry.empty())
            throw ValueError(list, "has an empty entry");
        if (Contains(entries, entry))
            throw ValueError(list, "has '" + entry + "' twice");
        entries.push_back(entry);
        start = comma + 1;
    }
    return entries;
}

std::chrono::seconds ParseDuration(std::string const& value) {
    constexpr long long maxSeconds = std::numeric_limits<std::int32_t>::max();
    std::string_view text = value;
    long long const unit = TakeUnit(text);
    std::optional<long long> const number = ParseNumber(text);
    if (!number || *number < 1 || *number > maxSeconds / unit)
        throw ValueError(value);
    return std::chrono::seconds(*number * unit);
}

ColorMode ParseColor(std::string const& value) {
    if (value == "auto")
        return ColorMode::automatic;
    if (value == "always")
        return ColorMode::always;
    if (value == "never")
        return ColorMode::never;
    throw ValueError(value);
}

std::string ParseFile(std::string const& path) {
    std::string const reason = ReasonAgainstResultFile(path);
    if (!reason.empty())
        throw ValueError(path, reason);
    return path;
}

void RefuseOption(std::span<OptionRule const> rules, std::string_view option,
                  std::string const& problem) {
    auto const rule = std::ranges::find(rules, option, &OptionRule::name);
    throw CommandLineError(std::string(option) + ": " + problem + "; accepted: " + rule->accepted);
}

std::vector<std::string> ReadResults(std::span<OptionRule const> rules, Arguments const& arguments,
                                     char const* option) {
    std::vector<std::string> results;
    for (std::string const& list : arguments.Values(option))
        for (std::string const& result : ParseOption(rules, option, list, ParseList))
            if (!Contains(results, result))
                results.push_back(result);
    return results;
}
