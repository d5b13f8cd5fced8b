#include "companions/Timestamp.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <utility>

namespace {

std::string Format(char const* format, tm const& time) {
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), format, &time)};
}

// Removes a number of exactly `digits` digits from the front of the text. Returns nullopt if there
// is none, or if it is not in the range.
std::optional<int> TakeNumber(std::string_view& text, std::size_t digits, int min, int max) {
    std::string_view const number = text.substr(0, digits);
    if (number.size() < digits || number.find_first_not_of("0123456789") != std::string_view::npos)
        return {};
    int value = 0;
    std::from_chars(number.data(), number.data() + number.size(), value);
    text.remove_prefix(digits);
    return value < min || value > max ? std::nullopt : std::optional(value);
}

bool TakeOne(std::string_view& text, std::string_view accepted) {
    if (text.empty() || accepted.find(text.front()) == std::string_view::npos)
        return false;
    text.remove_prefix(1);
    return true;
}

// Returns the date and the time of day as if they were UTC.
std::optional<time_t> TakeDateTime(std::string_view& text) {
    auto const year = TakeNumber(text, 4, 0, 9999);
    bool separated = TakeOne(text, "-");
    auto const month = TakeNumber(text, 2, 1, 12);
    separated = TakeOne(text, "-") && separated;
    auto const day = TakeNumber(text, 2, 1, 31);
    separated = TakeOne(text, "Tt") && separated;
    auto const hour = TakeNumber(text, 2, 0, 23);
    separated = TakeOne(text, ":") && separated;
    auto const minute = TakeNumber(text, 2, 0, 59);
    separated = TakeOne(text, ":") && separated;
    auto const second = TakeNumber(text, 2, 0, 60);
    if (!year || !month || !day || !hour || !minute || !second || !separated)
        return {};
    std::chrono::year_month_day const date{std::chrono::year(*year),
                                           std::chrono::month(static_cast<unsigned int>(*month)),
                                           std::chrono::day(static_cast<unsigned int>(*day))};
    if (!date.ok())
        return {};
    tm parts{};
    parts.tm_year = *year - 1900;
    parts.tm_mon = *month - 1;
    parts.tm_mday = *day;
    parts.tm_hour = *hour;
    parts.tm_min = *minute;
    parts.tm_sec = *second;
    return timegm(&parts);
}

// Returns nanoseconds; 0 if there is no fraction.
std::optional<long> TakeFraction(std::string_view& text) {
    if (!TakeOne(text, "."))
        return 0;
    std::size_t const length = std::min(text.find_first_not_of("0123456789"), text.size());
    if (length == 0)
        return {};
    std::string digits(text.substr(0, length));
    text.remove_prefix(length);
    digits.resize(9, '0');
    return std::stol(digits);
}

// Returns the seconds east of UTC.
std::optional<int> TakeOffset(std::string_view& text) {
    if (TakeOne(text, "Zz"))
        return 0;
    bool const isWest = text.starts_with('-');
    if (!TakeOne(text, "+-"))
        return {};
    auto const hours = TakeNumber(text, 2, 0, 23);
    bool const separated = TakeOne(text, ":");
    auto const minutes = TakeNumber(text, 2, 0, 59);
    if (!hours || !minutes || !separated)
        return {};
    return (*hours * 60 + *minutes) * (isWest ? -60 : 60);
}

} // namespace

std::optional<timespec> ParseTimestamp(std::string_view text) {
    std::optional<time_t> const local = TakeDateTime(text);
    std::optional<long> const nanoseconds = local ? TakeFraction(text) : std::nullopt;
    std::optional<int> const offset = nanoseconds ? TakeOffset(text) : std::nullopt;
    if (!offset || !text.empty())
        return {};
    return timespec{*local - *offset, *nanoseconds};
}

std::string FormatTimestamp(timespec const& time) {
    tm local{};
    localtime_r(&time.tv_sec, &local);
    std::string const thousandths = std::to_string(1000 + time.tv_nsec / 1'000'000).substr(1);
    std::string const offset = Format("%z", local); // "+0100"
    return Format("%Y-%m-%dT%H:%M:%S", local) + "." + thousandths + offset.substr(0, 3) + ":" +
           offset.substr(3);
}

std::string FormatAge(std::int64_t seconds) {
    if (seconds < 0)
        return "in " + FormatAge(-seconds);
    if (seconds < 60)
        return std::to_string(seconds) + " s";
    std::int64_t const minutes = seconds / 60;
    std::int64_t const hours = minutes / 60;
    if (hours == 0)
        return std::to_string(minutes) + " min";
    if (hours < 48)
        return std::to_string(hours) + " h";
    return std::to_string(hours / 24) + " d " + std::to_string(hours % 24) + " h";
}

timespec CurrentTime() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

bool IsBefore(timespec const& first, timespec const& second) {
    return std::pair(first.tv_sec, first.tv_nsec) < std::pair(second.tv_sec, second.tv_nsec);
}
