#include "simd/FindCaseInsensitive.h"

#include <array>
#include <string>

#include <gtest/gtest.h>

namespace {

constexpr std::array<std::int32_t, 256> asciiLower = [] {
    std::array<std::int32_t, 256> table{};
    for (int byte = 0; byte < 256; ++byte)
        table[static_cast<unsigned>(byte)] = byte >= 'A' && byte <= 'Z' ? byte + 32 : byte;
    return table;
}();

// The offset of "ab" in any case, or -1.
std::ptrdiff_t FindAb(std::string const& text) {
    char const* const match = Simd::FindCaseInsensitive(text.data(), text.size(), "ab", 2,
                                                        asciiLower.data(), {'a', 'A'}, {'b', 'B'});
    return match == nullptr ? -1 : match - text.data();
}

TEST(FindCaseInsensitiveTest, FindsMatchAtEveryPosition) {
    for (std::size_t length = 2; length < 200; ++length)
        for (std::size_t at = 0; at + 2 <= length; ++at) {
            std::string text(length, '.');
            text.replace(at, 2, at % 2 == 0 ? "aB" : "Ab");
            ASSERT_EQ(static_cast<std::ptrdiff_t>(at), FindAb(text)) << length;
        }
}

TEST(FindCaseInsensitiveTest, ReturnsNullWithoutMatch) {
    EXPECT_EQ(-1, FindAb("ac"));
    EXPECT_EQ(-1, FindAb(std::string(100, 'a')));
}

} // namespace
