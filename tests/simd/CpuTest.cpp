#include "simd/Cpu.h"

#include <gtest/gtest.h>

namespace {

using Simd::Level;

Level LevelOfCompiler() {
#if SIMD_X86
    if (!__builtin_cpu_supports("ssse3") || !__builtin_cpu_supports("popcnt") ||
        !__builtin_cpu_supports("pclmul"))
        return Level::sse2;
    return __builtin_cpu_supports("avx2") ? Level::avx2 : Level::ssse3;
#else
    return Level::scalar;
#endif
}

TEST(CpuTest, BestLevelAgreesWithTheCompiler) { EXPECT_EQ(LevelOfCompiler(), Simd::BestLevel()); }

TEST(CpuTest, UsesEveryLevelUpToTheBestOne) {
    for (Level level : {Level::scalar, Level::sse2, Level::ssse3, Level::avx2})
        EXPECT_EQ(level <= Simd::BestLevel(), Simd::Uses(level));
}

TEST(CpuTest, PinnedLevelsNest) {
    if (Simd::BestLevel() < Level::avx2)
        GTEST_SKIP() << "the processor has no AVX2";
    Simd::PinnedLevel const outer(Level::ssse3);
    {
        Simd::PinnedLevel const inner(Simd::baseline);
        EXPECT_FALSE(Simd::Uses(Level::ssse3));
    }
    EXPECT_TRUE(Simd::Uses(Level::ssse3));
    EXPECT_FALSE(Simd::Uses(Level::avx2));
}

// In a process that runs only this test, the level has not been queried before.
TEST(CpuTest, PinnedLevelEndsWithItsObject) {
    {
        Simd::PinnedLevel const pinned(Simd::baseline);
        EXPECT_TRUE(Simd::Uses(Simd::baseline));
        EXPECT_FALSE(Simd::Uses(Level::avx2));
    }
    EXPECT_EQ(Simd::BestLevel() == Level::avx2, Simd::Uses(Level::avx2));
}

} // namespace
