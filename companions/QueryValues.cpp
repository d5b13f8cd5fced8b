#include "companions/QueryValues.h"

#include <algorithm>
#include <array>

#include "companions/Rows.h"
#include "compliance/Compliance.h"

namespace {

struct FlagName {
    std::string_view name;
    // cppcheck-suppress unusedStructMember ; read through an iterator
    unsigned int value;
};

constexpr std::array flagNames = {
    FlagName{"gather", COMPLIANCE_FLAG_GATHER},
    FlagName{"all", COMPLIANCE_FLAG_EVALUATE_ALL},
    FlagName{"idle", COMPLIANCE_FLAG_IDLE_CPU_USAGE},
    FlagName{"hint", COMPLIANCE_FLAG_ACTIONHINT},
};

unsigned int ParseFlag(std::string const& text) {
    auto const found = std::ranges::find(flagNames, text, &FlagName::name);
    if (found != flagNames.end())
        return found->value;
    constexpr long long maxFlags = 15;
    std::optional<long long> const number = ParseNumber(text);
    if (!number || *number > maxFlags)
        throw ValueError(text);
    return static_cast<unsigned int>(*number);
}

} // namespace

unsigned int ParseFlags(std::string const& list) {
    unsigned int flags = 0;
    for (std::string const& entry : ParseList(list))
        flags |= ParseFlag(entry);
    return flags;
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
    throw ValueError(value);
}

std::size_t ParseField(std::string const& name) {
    auto const found = std::ranges::find(rowFieldNames, std::string_view(name));
    if (found == rowFieldNames.end())
        throw ValueError(name);
    return static_cast<std::size_t>(found - rowFieldNames.begin());
}

std::vector<std::size_t> ParseFields(std::string const& list) {
    std::vector<std::size_t> fields;
    for (std::string const& name : ParseList(list))
        fields.push_back(ParseField(name));
    return fields;
}
