#include "data/ProcessorFeatures.h"

#include <gtest/gtest.h>

namespace {

int questions = 0;

template <bool answer>
bool Ask() {
    ++questions;
    return answer;
}

} // namespace

TEST(ProcessorFeatures, AreThoseThatTheCompilerFinds) {
    EXPECT_EQ(ProcessorFeatures::avx2.IsThere(), __builtin_cpu_supports("avx2") != 0);
    EXPECT_EQ(ProcessorFeatures::carrylessMultiplication.IsThere(),
              __builtin_cpu_supports("pclmul") != 0 && __builtin_cpu_supports("ssse3") != 0);
    EXPECT_EQ(ProcessorFeatures::byteShuffles.IsThere(),
              __builtin_cpu_supports("ssse3") != 0 && __builtin_cpu_supports("popcnt") != 0);
}

TEST(ProcessorFeatures, AskTheProcessorOnceForWhatIsThere) {
    questions = 0;
    ProcessorFeatures::Feature feature(Ask<true>);
    EXPECT_EQ(questions, 0);
    EXPECT_TRUE(feature.IsThere());
    EXPECT_TRUE(feature.IsThere());
    EXPECT_EQ(questions, 1);
}

TEST(ProcessorFeatures, AskTheProcessorOnceForWhatIsNotThere) {
    questions = 0;
    ProcessorFeatures::Feature feature(Ask<false>);
    EXPECT_FALSE(feature.IsThere());
    EXPECT_FALSE(feature.IsThere());
    EXPECT_EQ(questions, 1);
}
