#include "data/CheckedArithmetic.h"

#include <limits>

#include "tests/data/DataTest.h"

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

// Reports only the first mismatch.
template <typename A, typename B>
void Check(char const* predicate, A a, B b, bool answer, bool expected) {
    if (answer != expected && !testing::Test::HasFailure())
        ADD_FAILURE() << predicate << '(' << std::to_string(a) << ", " << std::to_string(b)
                      << ") in " << sizeof(A) * 8 << " bits";
}

// Both operands have the same type.
template <typename T>
void CheckPair(T a, T b) {
    Wide const wa = a;
    Wide const wb = b;
    Check("CanAdd", a, b, CanAdd(a, b), Fits<T>(wa + wb));
    Check("CanSubtract", a, b, CanSubtract(a, b), Fits<T>(wa - wb));
    Check("CanMultiply", a, b, CanMultiply(a, b), ProductFits(a, b));
    Check("CanOverflowWithAdd", a, 1, CanOverflowWithAdd(a), !Fits<T>(wa + 1));
}

template <typename S, typename U>
void CheckMixedPair(S s, U u) {
    Wide const ws = s;
    Wide const wu = u;
    Check("CanAddSigned", s, u, CanAddSigned(s, u), Fits<S>(ws + wu));
    Check("CanAddUnsigned", s, u, CanAddUnsigned(s, u), Fits<U>(ws + wu));
    Check("CanSubtractSigned", s, u, CanSubtractSigned(s, u), Fits<S>(ws - wu));
    Check("CanSubtractUnsigned", s, u, CanSubtractUnsigned(s, u), Fits<U>(ws - wu));
    Check("CanSubtractUnsigned", u, s, CanSubtractUnsigned(u, s), Fits<U>(wu - ws));
    Check("CanSubtractSigned", u, s, CanSubtractSigned(u, s), WrappingDifferenceOfMixed(u, s));
}

template <typename U>
void CheckAllForms(U a, U b) {
    using S = std::make_signed_t<U>;
    CheckPair(a, b);
    CheckPair(static_cast<S>(a), static_cast<S>(b));
    CheckMixedPair(static_cast<S>(a), b);
    Check("CanSubtractSigned", a, b, CanSubtractSigned(a, b),
          WrappingDifferenceOfUnsigned<S>(a, b));
}

// The bit patterns within three steps of zero, of each power of two and its negation, and of some
// fractions of the limits. At these, products overflow.
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
void CheckPairsOf(std::vector<U> const& values) {
    for (U a : values)
        for (U b : values)
            CheckAllForms(a, b);
}

TEST(CheckedArithmeticTest, EveryPairOf8BitValuesAgreesWithWideArithmetic) {
    std::string const bytes = EveryByte();
    CheckPairsOf(std::vector<unsigned char>(bytes.begin(), bytes.end()));
}

TEST(CheckedArithmeticTest, LimitsOfWiderTypesAgreeWithWideArithmetic) {
    CheckPairsOf(Borders<unsigned short>());
    CheckPairsOf(Borders<unsigned int>());
    CheckPairsOf(Borders<unsigned long long>());
}

// Deliberate: these results, except the last one, differ from the exact ones.
TEST(CheckedArithmeticTest, SignedDifferenceOfUnsignedMinuendIsNotExact) {
    using U8 = unsigned char;
    using S8 = signed char;
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
