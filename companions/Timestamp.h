// Points in time as text.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

// Returns the local time with its offset from UTC (RFC 3339), with milliseconds:
// "2026-03-01T09:30:00.125+01:00".
std::string FormatTimestamp(timespec const& time);

// Returns the point in time of a text of RFC 3339; nothing for any other text. Digits beyond
// nanoseconds are dropped.
std::optional<timespec> ParseTimestamp(std::string_view text);

// Returns "45 s", "5 min", "3 h" or "2 d 4 h"; "in 5 min" for a negative number of seconds.
std::string FormatAge(std::int64_t seconds);

// Returns the current time of the system's clock.
timespec CurrentTime();

// Whether the first time is earlier than the second one.
bool IsBefore(timespec const& first, timespec const& second);
