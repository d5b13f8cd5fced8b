// Converts points in time to and from text.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

// Returns the local time with its offset from UTC (RFC 3339), with milliseconds:
// "2026-03-01T09:30:00.125+01:00".
std::string FormatTimestamp(timespec const& time);

// Parses a timestamp of RFC 3339. Truncates to nanoseconds. Accepts the second 60 in every minute,
// not only as a leap second. Returns nullopt for any other text.
std::optional<timespec> ParseTimestamp(std::string_view text);

// Returns "45 s", "5 min", "3 h" or "2 d 4 h"; "in 5 min" for a negative number of seconds.
std::string FormatAge(std::int64_t seconds);

// Returns the current time (CLOCK_REALTIME).
timespec CurrentTime();

// True if the first time is earlier than the second one.
bool IsBefore(timespec const& first, timespec const& second);
