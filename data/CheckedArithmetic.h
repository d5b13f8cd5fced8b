// Whether the exact result of an integer operation fits the type that is to hold it.
//
// The caller asks first, and then does the operation or reports its own error. No predicate throws,
// and none overflows on its own: each compares against a bound found by subtraction or division.
// Without a mark in its name a predicate asks about a result of the type of its operands;
// ...Signed asks about a signed result, ...Unsigned about an unsigned one of the same width.
//
// The operands are of one width: 8, 16, 32 or 64 bits. Other types (char, bool, long, size_t) and
// mixed widths do not compile, since a silent conversion would make the answer that of another
// question.
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

// The signed and the unsigned type of one width.
template <typename S, typename U>
concept CheckedPair = CheckedSigned<S> && CheckedUnsigned<U> && sizeof(S) == sizeof(U);

namespace CheckedBounds {

// The bounds as values of the unsigned type, for tests that run modulo its width.
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

// Whether a is the top value of its type, so that one more would not fit.
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

// Deliberate: the two forms with an unsigned first operand do NOT answer exactly. Their bounds wrap
// around in the unsigned type: of (0, 0) the first says false, and of (200, 0) in 8 bits true.
// Callers rely on these very answers, so the forms stay as they are.
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
// Of two operands one of which is a constant, pass the constant first: the bound is then a constant
// too, and no division is left.

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
        // Apart, since the bottom value divided by -1 would itself overflow.
        if (a == -1)
            return b != Limits::min();
        if (a > 0)
            return b > 0 ? Limits::max() / a >= b : Limits::min() / a <= b;
        return b > 0 ? Limits::min() / a >= b : Limits::max() / a <= b;
    }
}
