// Predicates that return true if the exact result of an integer operation fits the result type.
//
// The result type is the type of the operands; for ...Signed, the signed type of their width; for
// ...Unsigned, the unsigned one. No predicate throws or overflows. CanOverflowWithAdd returns the
// opposite, and the overloads marked "Deliberate:" are not exact.
//
// Both operands have the same width: 8, 16, 32 or 64 bits. Mixed widths do not compile, because an
// implicit conversion could change the value. Neither do other types (char, bool, long, size_t).
#pragma once

#include <concepts>
#include <limits>
#include <type_traits>

template <typename T>
concept CheckedUnsigned = std::same_as<T, unsigned char> || std::same_as<T, unsigned short> ||
    std::same_as<T, unsigned int> || std::same_as<T, unsigned long long>;

template <typename T>
concept CheckedSigned = std::same_as<T, signed char> || std::same_as<T, short> ||
    std::same_as<T, int> || std::same_as<T, long long>;

// A signed and an unsigned type of the same width.
template <typename S, typename U>
concept CheckedPair = CheckedSigned<S> && CheckedUnsigned<U> && sizeof(S) == sizeof(U);

namespace CheckedBounds {

// The bounds of the signed type, as values of the unsigned type.
template <CheckedUnsigned U>
inline constexpr U signedMax = static_cast<U>(std::numeric_limits<U>::max() / 2);
template <CheckedUnsigned U>
inline constexpr U signedMin = static_cast<U>(signedMax<U> + 1);

} // namespace CheckedBounds

// a + b

template <CheckedUnsigned U>
constexpr bool CanAdd(U a, U b) {
    return static_cast<U>(~a) >= b;
}

template <CheckedSigned S>
constexpr bool CanAdd(S a, S b) {
    using Limits = std::numeric_limits<S>;
    return a < 0 ? Limits::min() - a <= b : Limits::max() - a >= b;
}

template <typename S, typename U>
requires CheckedPair<S, U>
constexpr bool CanAddSigned(S a, U b) {
    return static_cast<U>(CheckedBounds::signedMax<U> - static_cast<U>(a)) >= b;
}

template <typename S, typename U>
requires CheckedPair<S, U>
constexpr bool CanAddUnsigned(S a, U b) {
    U const bits = static_cast<U>(a);
    return a < 0 ? static_cast<U>(0 - bits) <= b : static_cast<U>(~bits) >= b;
}

// True if `a` is the maximum of its type, so that a + 1 does not fit.
template <typename T>
requires CheckedUnsigned<T> || CheckedSigned<T>
constexpr bool CanOverflowWithAdd(T a) { return !CanAdd(a, static_cast<T>(1)); }

// a - b

template <CheckedUnsigned U>
constexpr bool CanSubtract(U a, U b) {
    return a >= b;
}

template <CheckedSigned S>
constexpr bool CanSubtract(S a, S b) {
    using Limits = std::numeric_limits<S>;
    return a < 0 ? a - Limits::min() >= b : a - Limits::max() <= b;
}

template <typename S, typename U>
requires CheckedPair<S, U>
constexpr bool CanSubtractSigned(S a, U b) {
    return static_cast<S>(static_cast<U>(b + CheckedBounds::signedMin<U>)) <= a;
}

// Deliberate: the next two overloads, which take an unsigned minuend, are not exact: some of their
// bounds are wrong or wrap around. In 8 bits, the first overload returns false for 0 - 0 and true
// for 200 - 0; the second one returns false for 200 - 100. Kept for compatibility.
template <typename U, typename S>
requires CheckedPair<S, U>
constexpr bool CanSubtractSigned(U a, S b) {
    U const bits = static_cast<U>(b);
    return b < 0 ? static_cast<U>(bits + CheckedBounds::signedMax<U>) >= a
                 : static_cast<U>(bits + CheckedBounds::signedMin<U>) <= a;
}

template <CheckedUnsigned U>
constexpr bool CanSubtractSigned(U a, U b) {
    using S = std::make_signed_t<U>;
    if (a > CheckedBounds::signedMax<U>)
        return static_cast<U>(CheckedBounds::signedMax<U> - b) >= a;
    return static_cast<S>(a) >= static_cast<S>(static_cast<U>(b + CheckedBounds::signedMin<U>));
}

template <typename S, typename U>
requires CheckedPair<S, U>
constexpr bool CanSubtractUnsigned(S a, U b) {
    return b <= CheckedBounds::signedMax<U> && static_cast<S>(b) <= a;
}

template <typename U, typename S>
requires CheckedPair<S, U>
constexpr bool CanSubtractUnsigned(U a, S b) {
    U const bits = static_cast<U>(b);
    return b < 0 ? static_cast<U>(bits - 1) >= a : bits <= a;
}

// a * b
//
// If one operand is a constant, pass it first: the compiler then removes the division.

template <CheckedUnsigned U>
constexpr bool CanMultiply(U a, U b) {
    return a == 0 || std::numeric_limits<U>::max() / a >= b;
}

template <CheckedSigned S>
constexpr bool CanMultiply(S a, S b) {
    using Limits = std::numeric_limits<S>;
    if constexpr (sizeof(S) < sizeof(int)) {
        int const product = a * b;
        return product >= Limits::min() && product <= Limits::max();
    } else {
        if (a == 0)
            return true;
        // The minimum divided by -1 would overflow.
        if (a == -1)
            return b != Limits::min();
        if (a > 0)
            return b > 0 ? Limits::max() / a >= b : Limits::min() / a <= b;
        return b > 0 ? Limits::min() / a >= b : Limits::max() / a <= b;
    }
}
