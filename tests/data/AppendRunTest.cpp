#include "data/AppendRun.h"

#include <algorithm>
#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace {

std::string Numbered(std::size_t length) {
    std::string bytes;
    while (bytes.size() < length)
        bytes += static_cast<char>(bytes.size() * 7 - 3);
    return bytes;
}

// Appends in both forms to a string of this size with this room behind it, and compares.
void ExpectSameAppended(std::size_t size, std::size_t room, std::string const& run) {
    // A block of its own, so that a sanitizer sees a read on either side of it.
    auto const bytes = std::make_unique<char[]>(run.size());
    std::copy(run.begin(), run.end(), bytes.get());
    std::string fast = Numbered(size);
    fast.reserve(size + room);
    std::string plain = fast;
    AppendRuns::Append(fast, bytes.get(), run.size());
    AppendRuns::AppendPlainly(plain, bytes.get(), run.size());
    EXPECT_EQ(plain, fast);
    EXPECT_EQ('\0', fast.c_str()[fast.size()]);
}

TEST(AppendRunTest, AgreesWithThePlainFormForEachLengthAndRoom) {
    for (std::size_t size : {0, 1, 14, 15, 16, 40}) {
        for (std::size_t room = 0; room <= 40; ++room) {
            for (std::size_t length = 0; length <= 40; ++length)
                ExpectSameAppended(size, room, std::string(length, 'x') + (length % 2 ? "y" : ""));
        }
    }
}

TEST(AppendRunTest, KeepsEachByteInItsPlace) {
    for (std::size_t length = 0; length <= 20; ++length) {
        std::string text;
        text.reserve(100);
        AppendRuns::Append(text, Numbered(length).data(), length);
        EXPECT_EQ(Numbered(length), text);
        AppendRuns::Append(text, Numbered(length).data(), length);
        EXPECT_EQ(Numbered(length) + Numbered(length), text);
    }
}

TEST(AppendRunTest, TakesAPartOfTheStringItself) {
    for (std::size_t room : {0, 100}) {
        std::string text = "0123456789";
        text.reserve(10 + room);
        AppendRuns::Append(text, text.data() + 3, 7);
        EXPECT_EQ("01234567893456789", text);
    }
}

TEST(AppendRunTest, AcceptsNoBytesAtNoPlace) {
    std::string text = "before";
    text.reserve(100);
    AppendRuns::Append(text, nullptr, 0);
    EXPECT_EQ("before", text);
}

TEST(AppendRunTest, GrowsNoStringThatHasRoom) {
    std::string text;
    text.reserve(64);
    char const* const place = text.data();
    for (int round = 0; round < 8; ++round)
        AppendRuns::Append(text, "12345678", 8);
    EXPECT_EQ(64u, text.size());
    EXPECT_EQ(place, text.data());
}

} // namespace
