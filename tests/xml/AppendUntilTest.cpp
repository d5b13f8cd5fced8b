#include "xml/AppendUntil.h"

#include <memory>
#include <random>

#include <gtest/gtest.h>

namespace {

// All lengths up to several blocks, with a match at each position or none.
template <int block>
unsigned int CountWrongAppends(std::mt19937& random) {
    unsigned int mismatches = 0;
    for (std::size_t length = 0; length <= 150; ++length) {
        for (std::size_t place = 0; place <= length; ++place) {
            // A separate allocation, so that a sanitizer detects reads beyond either end.
            auto const bytes = std::make_unique<char[]>(length);
            std::fill_n(bytes.get(), length, 'p');
            if (place < length)
                bytes[place] = place % 2 == 0 ? '<' : '&';
            char const* const from = bytes.get();
            std::string target(random() % 40, 't');
            std::string const expected = target + std::string(place, 'p');
            mismatches += AppendUntil<block>(target, from, from + length, '<', '&') != from + place;
            mismatches += target != expected;
        }
    }
    return mismatches;
}

TEST(AppendUntilTest, AppendsUpToTheFirstMatch) {
    std::mt19937 random(20240502);
    EXPECT_EQ(CountWrongAppends<16>(random), 0u);
    EXPECT_EQ(CountWrongAppends<32>(random), 0u);
    EXPECT_EQ(CountWrongAppends<64>(random), 0u);
}

} // namespace
