// A half-open interval of numbers: from `begin` up to, but without, `end`.
//
// Range<unsigned long long> holds stream positions and file offsets.
#pragma once

template <class T>
struct Range {
    T begin{};
    T end{};

    friend constexpr bool operator==(Range const&, Range const&) = default;
};
