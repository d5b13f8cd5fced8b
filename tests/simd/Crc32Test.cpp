#include "simd/Crc32.h"

#include <cstdint>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "fuzz/ChecksumProperties.h"
#include "simd/Cpu.h"
#include "tests/support/Bytes.h"

namespace {

TEST(Crc32Test, TableHasTheStepOfEachByte) {
    for (unsigned i = 0; i < 256; ++i)
        EXPECT_EQ(ChecksumProperties::AdvanceByBits(0, std::string(1, static_cast<char>(i))),
                  Simd::crc32Table[i])
            << i;
}

TEST(Crc32Test, EveryFunctionAgreesWithReference) {
    std::mt19937 random(70);
    for (std::size_t length = 0; length < 900; length += 1 + length / 100) {
        std::string const text = RandomBytes(random, length, EveryByte());
        auto const* const bytes = reinterpret_cast<unsigned char const*>(text.data());
        auto const start = static_cast<std::uint32_t>(random());
        std::uint32_t const expected = ChecksumProperties::AdvanceByBits(start, text);
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
