#include "unicode/UStringRef.h"

#include <gtest/gtest.h>

#include "tests/support/Bytes.h"

namespace {

static_assert(std::is_same_v<UTF8::Unit, unsigned char>);
static_assert(std::is_same_v<UTF16::Unit, unsigned short>);
static_assert(std::is_same_v<UTF32::Unit, unsigned int>);
static_assert(std::is_same_v<Local8Bit::Unit, char>);
static_assert(std::is_empty_v<UTF8> && std::is_empty_v<UTF16> && std::is_empty_v<UTF32> &&
              std::is_empty_v<Local8Bit>);

// The tags prevent conversions between texts of different encodings.
static_assert(!std::is_convertible_v<UStringRef<UTF8>, UStringRef<Local8Bit>>);
static_assert(!std::is_convertible_v<UStringRef<Local8Bit>, UStringRef<UTF8>>);
static_assert(!std::is_constructible_v<UStringRef<UTF16>, UStringRef<UTF8>>);
static_assert(!std::is_convertible_v<char const*, UStringRef<Local8Bit>>);
static_assert(!std::is_constructible_v<UStringRef<UTF8>, char const*, char const*>);
static_assert(std::is_trivially_copyable_v<UStringRef<UTF16>>);

TEST(UStringRefTest, DefaultIsEmptyAndNotTerminated) {
    UStringRef<UTF16> const text;
    EXPECT_EQ(nullptr, text.begin);
    EXPECT_EQ(nullptr, text.end);
    EXPECT_FALSE(text.nullTerminated);
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(0u, text.Length());
}

TEST(UStringRefTest, LengthIsInCodeUnits) {
    unsigned int const units[] = {'a', 0x1F600, 0};
    UStringRef<UTF32> const text(units, units + 2, true);
    EXPECT_EQ(2u, text.Length());
    EXPECT_FALSE(text.IsEmpty());
    EXPECT_TRUE(text.nullTerminated);
    EXPECT_FALSE(UStringRef<UTF32>(units, units + 3).nullTerminated);
}

TEST(UStringRefTest, CastOfACStringEndsAtItsNul) {
    char const literal[] = "ab\xE9\0c";
    for (char const* const start : {literal, literal + 3}) {
        UStringRef<Local8Bit> const text = EncodingCast<UStringRef<Local8Bit>, char>(start);
        EXPECT_EQ(start, text.begin);
        EXPECT_EQ(literal + 3, text.end);
        EXPECT_TRUE(text.nullTerminated);
    }
    UStringRef<Local8Bit> const null = EncodingCast<UStringRef<Local8Bit>, char>(nullptr);
    EXPECT_TRUE(null.IsEmpty());
    EXPECT_FALSE(null.nullTerminated);
}

TEST(UStringRefTest, CastToBytesKeepsTheRange) {
    unsigned char const utf8[] = {0xC3, 0xA9, 0, 'x'};
    ConstData const fromUTF8 = EncodingCast<ConstData, UTF8>(UStringRef<UTF8>(utf8, utf8 + 4));
    EXPECT_EQ(utf8, fromUTF8.begin);
    EXPECT_EQ(utf8 + 4, fromUTF8.end);

    char const local[] = "ab";
    ConstData const fromLocal =
        EncodingCast<ConstData, Local8Bit>(UStringRef<Local8Bit>(local, local + 2));
    EXPECT_EQ(static_cast<void const*>(local), fromLocal.begin);
    EXPECT_EQ(ConstData("ab"), fromLocal);
    EXPECT_TRUE((EncodingCast<ConstData, UTF8>(UStringRef<UTF8>()).IsEmpty()));
}

TEST(UStringRefTest, ReinterpretKeepsTheAddress) {
    wchar_t const wide[] = L"ab";
    unsigned int const* const units = Reinterpret<unsigned int const*>(wide);
    EXPECT_EQ(static_cast<void const*>(wide), units);
    char bytes[] = "x";
    EXPECT_EQ('x', (*Reinterpret<unsigned char*, char*>(bytes)));
}

} // namespace
