#include "simd/Crc32.h"

#include <cstdint>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "simd/Cpu.h"
#include "tests/support/Bytes.h"

namespace {

// The register by the definition, bit by bit.
std::uint32_t ByBits(std::uint32_t value, unsigned char const* bytes, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) {
        value ^= static_cast<std::uint32_t>(bytes[i]) << 24;
        for (int bit = 0; bit < 8; ++bit)
            value = (value & 0x80000000u) != 0 ? value << 1 ^ 0x04C11DB7u : value << 1;
    }
    return value;
}

TEST(Crc32Test, TableHoldsTheStepOfEachByte) {
    for (unsigned i = 0; i < 256; ++i) {
        auto const byte = static_cast<unsigned char>(i);
        EXPECT_EQ(ByBits(0, &byte, 1), Simd::crc32Table[i]) << i;
    }
}

TEST(Crc32Test, EveryFunctionAgreesWithTheDefinition) {
    std::mt19937 random(70);
    for (std::size_t length = 0; length < 900; length += 1 + length / 100) {
        std::string const text = RandomBytes(random, length, EveryByte());
        auto const* const bytes = reinterpret_cast<unsigned char const*>(text.data());
        auto const start = static_cast<std::uint32_t>(random());
        std::uint32_t const expected = ByBits(start, bytes, length);
        EXPECT_EQ(expected, Simd::Crc32(start, bytes, length)) << length;
        EXPECT_EQ(expected, Simd::Crc32Scalar(start, bytes, length)) << length;
        EXPECT_EQ(expected, Simd::Crc32Sliced(start, bytes, length)) << length;
#if SIMD_X86
        if (Simd::Uses(Simd::Level::ssse3)) {
            EXPECT_EQ(expected, Simd::Crc32Folded(start, bytes, length)) << length;
        }
#endif
    }
}

TEST(Crc32Test, AcceptsNullPointerWithNoBytes) {
    EXPECT_EQ(5u, Simd::Crc32(5, nullptr, 0));
    EXPECT_EQ(5u, Simd::Crc32Scalar(5, nullptr, 0));
}

} // namespace
