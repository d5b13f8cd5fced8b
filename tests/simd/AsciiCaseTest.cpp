#include "simd/AsciiCase.h"

#include <vector>

#include <gtest/gtest.h>

#include "fuzz/ReferenceCase.h"
#include "simd/Cpu.h"

namespace {

using Function = std::size_t (*)(unsigned char const*, unsigned char const*, std::size_t);

std::vector<Function> AllFunctions() {
    std::vector<Function> functions{Simd::CommonPrefix, Simd::CommonPrefixScalar};
#if SIMD_X86
    functions.push_back(Simd::CommonPrefixSse2);
    if (Simd::Uses(Simd::Level::avx2))
        functions.push_back(Simd::CommonPrefixAvx2);
#endif
    return functions;
}

TEST(AsciiCaseTest, ComparesNoBytesBeforeTheTexts) {
    // In blocks of 32 bytes: the bytes after the first block of one text precede the block in the
    // other.
    std::string const a(32, 'a'), b(32, 'b'), c(32, 'c'), d(32, 'd');
    std::string const left = a + b + c + d;
    std::string const front = d + c + b;
    std::string const right = front + a + std::string(96, 'x');
    for (Function function : AllFunctions()) {
        auto const* const one = reinterpret_cast<unsigned char const*>(left.data());
        auto const* const other =
            reinterpret_cast<unsigned char const*>(right.data()) + front.size();
        EXPECT_EQ(32u, function(one, other, left.size()));
        EXPECT_EQ(32u, function(other, one, left.size()));
    }
}

TEST(AsciiCaseTest, ComparesEveryPairOfBytes) {
    for (Function function : AllFunctions())
        for (std::size_t length : {1, 8, 13, 16, 32, 67}) {
            unsigned mismatches = 0;
            for (int a = 0; a < 256; ++a)
                for (int b = 0; b < 256; ++b) {
                    std::vector<unsigned char> left(length, 'q'), right(length, 'Q');
                    std::size_t const i = static_cast<std::size_t>(a + b) % length;
                    left[i] = static_cast<unsigned char>(a);
                    right[i] = static_cast<unsigned char>(b);
                    bool const alike = ReferenceCase::Lower(static_cast<char>(a)) ==
                                       ReferenceCase::Lower(static_cast<char>(b));
                    mismatches +=
                        function(left.data(), right.data(), length) != (alike ? length : i);
                }
            EXPECT_EQ(0u, mismatches) << length;
        }
}

TEST(AsciiCaseTest, AcceptsNullPointersWithNoBytes) {
    for (Function function : AllFunctions())
        EXPECT_EQ(0u, function(nullptr, nullptr, 0));
}

} // namespace
