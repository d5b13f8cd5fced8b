#include "data/CheckedArithmetic.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace {

// Wide represents every sum, difference and product of 64-bit operands exactly, except the product
// of two unsigned operands, for which ProductFits uses UnsignedWide.
__extension__ typedef __int128 Wide;
__extension__ typedef unsigned __int128 UnsignedWide;

template <typename T>
constexpr Wide Top() {
    return std::numeric_limits<T>::max();
}

template <typename T>
constexpr Wide Bottom() {
    return std::numeric_limits<T>::min();
}

template <typename T>
bool Fits(Wide value) {
    return value >= Bottom<T>() && value <= Top<T>();
}

template <typename T>
bool ProductFits(T a, T b) {
    if constexpr (std::is_signed_v<T>)
        return Fits<T>(static_cast<Wide>(a) * b);
    else
        return static_cast<UnsignedWide>(a) * b <= static_cast<UnsignedWide>(Top<T>());
}

// The value converted to the unsigned type U, modulo 2 to the power of its width.
template <typename U>
Wide Wrap(Wide value) {
    Wide const modulus = Top<U>() + 1;
    return ((value % modulus) + modulus) % modulus;
}

// The value converted to the signed type S, modulo 2 to the power of its width.
template <typename S>
Wide WrapSigned(Wide value) {
    Wide const wrapped = Wrap<std::make_unsigned_t<S>>(value);
    return wrapped > Top<S>() ? wrapped - 2 * (Top<S>() + 1) : wrapped;
}

// CanSubtractSigned(a, b) of an unsigned and a signed operand: the bounds wrap.
template <typename S, typename U>
bool WrappingDifferenceOfMixed(U a, S b) {
    return b < 0 ? Wrap<U>(Top<S>() + b) >= a : Wrap<U>(Bottom<S>() + b) <= a;
}

// CanSubtractSigned(a, b) of two unsigned operands: the bounds wrap.
template <typename S, typename U>
bool WrappingDifferenceOfUnsigned(U a, U b) {
    if (static_cast<Wide>(a) > Top<S>())
        return Wrap<U>(Top<S>() - static_cast<Wide>(b)) >= a;
    return WrapSigned<S>(a) >= WrapSigned<S>(static_cast<Wide>(b) + Bottom<S>());
}

// Collects differences, so that a loop over all pairs has one assertion at its end.
class Mismatches {
public:
    template <typename A, typename B>
    void Check(char const* predicate, A a, B b, bool answer, bool expected) {
        ++checks;
        if (answer == expected)
            return;
        if (++mismatches <= 5)
            text += std::string(predicate) + "(" + std::to_string(a) + ", " + std::to_string(b) +
                    ") in " + std::to_string(sizeof(A) * 8) + " bits; ";
    }
    std::string const& Text() const { return text; }
    long Checks() const { return checks; }

private:
    std::string text;
    long mismatches = 0;
    long checks = 0;
};

template <typename U>
void CheckUnsignedPair(Mismatches& out, U a, U b) {
    using S = std::make_signed_t<U>;
    Wide const wa = a;
    Wide const wb = b;
    out.Check("CanAdd", a, b, CanAdd(a, b), Fits<U>(wa + wb));
    out.Check("CanSubtract", a, b, CanSubtract(a, b), Fits<U>(wa - wb));
    out.Check("CanMultiply", a, b, CanMultiply(a, b), ProductFits(a, b));
    out.Check("CanSubtractSigned", a, b, CanSubtractSigned(a, b),
              WrappingDifferenceOfUnsigned<S>(a, b));
    out.Check("CanOverflowWithAdd", a, 1, CanOverflowWithAdd(a), !Fits<U>(wa + 1));
}

template <typename S>
void CheckSignedPair(Mismatches& out, S a, S b) {
    Wide const wa = a;
    Wide const wb = b;
    out.Check("CanAdd", a, b, CanAdd(a, b), Fits<S>(wa + wb));
    out.Check("CanSubtract", a, b, CanSubtract(a, b), Fits<S>(wa - wb));
    out.Check("CanMultiply", a, b, CanMultiply(a, b), ProductFits(a, b));
    out.Check("CanOverflowWithAdd", a, 1, CanOverflowWithAdd(a), !Fits<S>(wa + 1));
}

template <typename S, typename U>
void CheckMixedPair(Mismatches& out, S s, U u) {
    Wide const ws = s;
    Wide const wu = u;
    out.Check("CanAddSigned", s, u, CanAddSigned(s, u), Fits<S>(ws + wu));
    out.Check("CanAddUnsigned", s, u, CanAddUnsigned(s, u), Fits<U>(ws + wu));
    out.Check("CanSubtractSigned", s, u, CanSubtractSigned(s, u), Fits<S>(ws - wu));
    out.Check("CanSubtractUnsigned", s, u, CanSubtractUnsigned(s, u), Fits<U>(ws - wu));
    out.Check("CanSubtractUnsigned", u, s, CanSubtractUnsigned(u, s), Fits<U>(wu - ws));
    out.Check("CanSubtractSigned", u, s, CanSubtractSigned(u, s), WrappingDifferenceOfMixed(u, s));
}

template <typename U>
void CheckAllForms(Mismatches& out, U a, U b) {
    using S = std::make_signed_t<U>;
    CheckUnsignedPair(out, a, b);
    CheckSignedPair(out, static_cast<S>(a), static_cast<S>(b));
    CheckMixedPair(out, static_cast<S>(a), b);
}

// The bit patterns within a few steps of a power of two, of zero and of the limits, and the values
// around the roots and the fractions of the maximum, at which products and quotients overflow.
template <typename U>
std::vector<U> Borders() {
    std::vector<U> borders;
    auto const addAround = [&](U centre) {
        for (int step = -3; step <= 3; ++step)
            borders.push_back(static_cast<U>(centre + static_cast<U>(step)));
    };
    for (unsigned bit = 0; bit < sizeof(U) * 8; ++bit) {
        addAround(static_cast<U>(U{1} << bit));
        addAround(static_cast<U>(0 - (U{1} << bit)));
    }
    addAround(0);
    for (U divisor : {U{3}, U{5}, U{7}, U{10}, U{16}, U{100}}) {
        addAround(static_cast<U>(std::numeric_limits<U>::max() / divisor));
        addAround(static_cast<U>(std::numeric_limits<U>::max() / 2 / divisor));
        addAround(static_cast<U>(0 - std::numeric_limits<U>::max() / 2 / divisor));
    }
    return borders;
}

template <typename U>
void CheckBorders() {
    Mismatches out;
    std::vector<U> const borders = Borders<U>();
    for (U a : borders)
        for (U b : borders)
            CheckAllForms(out, a, b);
    EXPECT_EQ("", out.Text());
    EXPECT_EQ(15 * static_cast<long>(borders.size() * borders.size()), out.Checks());
}

using U8 = unsigned char;
using S8 = signed char;

TEST(CheckedArithmeticTest, EveryPairOf8BitsAgreesWithWideArithmetic) {
    Mismatches out;
    for (int a = 0; a < 256; ++a)
        for (int b = 0; b < 256; ++b)
            CheckAllForms(out, static_cast<U8>(a), static_cast<U8>(b));
    EXPECT_EQ("", out.Text());
    EXPECT_EQ(15L * 65536, out.Checks());
}

TEST(CheckedArithmeticTest, LimitsOfWiderTypesAgreeWithWideArithmetic) {
    CheckBorders<unsigned short>();
    CheckBorders<unsigned int>();
    CheckBorders<unsigned long long>();
}

// Deliberate: these results differ from the exact ones.
TEST(CheckedArithmeticTest, SignedDifferenceOfUnsignedOperandWraps) {
    EXPECT_FALSE(CanSubtractSigned(U8{0}, S8{0}));
    EXPECT_TRUE(CanSubtractSigned(U8{200}, S8{0}));
    EXPECT_TRUE(CanSubtractSigned(U8{0}, S8{-128}));
    EXPECT_FALSE(CanSubtractSigned(U8{200}, U8{100}));
    EXPECT_TRUE(CanSubtractSigned(U8{128}, U8{128}));
}

TEST(CheckedArithmeticTest, ResultsAreConstantExpressions) {
    static_assert(CanAdd(1u, 2u) && !CanAdd(0xFFFFFFFFu, 1u));
    static_assert(CanMultiply(3LL, -5LL) && !CanMultiply(1LL << 62, 2LL));
    static_assert(!CanSubtractUnsigned(-1, 0u));
    static_assert(std::is_same_v<bool (*)(int, unsigned), decltype(&CanAddSigned<int, unsigned>)>);
}

template <typename A, typename B>
concept HasCanAdd = requires(A a, B b) {
    CanAdd(a, b);
};

TEST(CheckedArithmeticTest, OtherTypesAndMixedWidthsDoNotCompile) {
    EXPECT_FALSE((HasCanAdd<char, char>));
    EXPECT_FALSE((HasCanAdd<bool, bool>));
    EXPECT_FALSE((HasCanAdd<long, long>));
    EXPECT_FALSE((HasCanAdd<unsigned long, unsigned long>));
    EXPECT_FALSE((HasCanAdd<unsigned int, unsigned long long>));
    EXPECT_FALSE((HasCanAdd<int, long long>));
    EXPECT_TRUE((HasCanAdd<short, short>));
}

} // namespace
