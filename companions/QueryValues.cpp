#include "companions/QueryValues.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <utility>

#include "companions/ResultFile.h"
#include "companions/Rows.h"
#include "compliance/Compliance.h"

namespace {

// `reason` is a verb with its complement, such as "has 'a' twice".
[[noreturn]] void Refuse(std::string const& value, std::string const& reason = "is not accepted") {
    throw ValueError("'" + value + "' " + reason);
}

struct FlagName {
    std::string_view name;
    // cppcheck-suppress unusedStructMember ; what std::ranges::find gives is asked for it
    unsigned int value;
};

constexpr std::array flagNames = {
    FlagName{"gather", COMPLIANCE_FLAG_GATHER},
    FlagName{"all", COMPLIANCE_FLAG_EVALUATE_ALL},
    FlagName{"idle", COMPLIANCE_FLAG_IDLE_CPU_USAGE},
    FlagName{"hint", COMPLIANCE_FLAG_ACTIONHINT},
};

bool Contains(std::vector<std::string> const& texts, std::string const& text) {
    return std::ranges::find(texts, text) != texts.end();
}

// The entries of a list with commas between. An empty entry is rather an unset variable of a script
// than a name, and a repeated one is a typing error.
std::vector<std::string> ParseList(std::string const& list) {
    std::vector<std::string> entries;
    for (std::size_t start = 0; start <= list.size();) {
        std::size_t const comma = std::min(list.find(',', start), list.size());
        std::string const entry = TrimSpaces(list.substr(start, comma - start));
        if (entry.empty())
            Refuse(list, "has an empty entry");
        if (Contains(entries, entry))
            Refuse(list, "has '" + entry + "' twice");
        entries.push_back(entry);
        start = comma + 1;
    }
    return entries;
}

unsigned int ParseFlag(std::string const& text) {
    auto const found = std::ranges::find(flagNames, text, &FlagName::name);
    if (found != flagNames.end())
        return found->value;
    constexpr long long maxFlags = 15;
    std::optional<long long> const number = ParseNumber(text);
    if (!number || *number > maxFlags)
        Refuse(text);
    return static_cast<unsigned int>(*number);
}

// The seconds of the unit at the end of the text, which is removed.
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

std::vector<std::string> ParseResults(std::string const& list) { return ParseList(list); }

unsigned int ParseFlags(std::string const& list) {
    unsigned int flags = 0;
    for (std::string const& entry : ParseList(list))
        flags |= ParseFlag(entry);
    return flags;
}

std::chrono::seconds ParseDuration(std::string const& value) {
    constexpr long long maxSeconds = std::numeric_limits<std::int32_t>::max();
    std::string_view text = value;
    long long const unit = TakeUnit(text);
    std::optional<long long> const number = ParseNumber(text);
    if (!number || *number < 1 || *number > maxSeconds / unit)
        Refuse(value);
    return std::chrono::seconds(*number * unit);
}

ProgressStyle ParseProgress(std::string const& value) {
    if (value == "auto")
        return ProgressStyle::automatic;
    if (value == "bar")
        return ProgressStyle::bar;
    if (value == "lines")
        return ProgressStyle::lines;
    if (value == "none")
        return ProgressStyle::none;
    Refuse(value);
}

ColorMode ParseColor(std::string const& value) {
    if (value == "auto")
        return ColorMode::automatic;
    if (value == "always")
        return ColorMode::always;
    if (value == "never")
        return ColorMode::never;
    Refuse(value);
}

std::size_t ParseField(std::string const& name) {
    auto const found = std::ranges::find(rowFieldNames, std::string_view(name));
    if (found == rowFieldNames.end())
        Refuse(name);
    return static_cast<std::size_t>(found - rowFieldNames.begin());
}

std::vector<std::size_t> ParseFields(std::string const& list) {
    std::vector<std::size_t> fields;
    for (std::string const& name : ParseList(list))
        fields.push_back(ParseField(name));
    return fields;
}

std::string ParseFile(std::string const& path) {
    std::string const reason = ReasonAgainstResultFile(path);
    if (!reason.empty())
        Refuse(path, reason);
    return path;
}
