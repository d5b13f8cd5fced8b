// Points in time as text.
#pragma once

#include <ctime>
#include <string>

// Returns the local time with its offset from UTC (RFC 3339), with milliseconds:
// "2026-03-01T09:30:00.125+01:00".
std::string FormatTimestamp(timespec const& time);

// Returns the current time of the system's clock.
timespec CurrentTime();
