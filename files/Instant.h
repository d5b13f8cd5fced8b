// A point in time.
#pragma once

#include <compare>
#include <cstdint>

// Microseconds since the Unix epoch, 1970-01-01 00:00 UTC; negative before it.
struct Instant {
    constexpr Instant() = default;
    explicit constexpr Instant(std::int64_t count) : microseconds(count) {}

    friend constexpr auto operator<=>(Instant const&, Instant const&) = default;

    std::int64_t microseconds = 0;
};

inline constexpr std::int64_t microsecondsPerSecond = 1000000;

static_assert(sizeof(Instant) == 8, "Instant must contain only its count");
