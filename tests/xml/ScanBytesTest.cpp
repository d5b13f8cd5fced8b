#include "xml/ScanBytes.h"

#include <memory>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace {

// A copy in a block of its own, so that a sanitizer sees a read on either side of it.
std::unique_ptr<char[]> Enclose(std::string const& bytes) {
    auto block = std::make_unique<char[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), block.get());
    return block;
}

TEST(ScanBytesTest, AgreesWithThePlainLoopForEachByteAtEachPlaceOfEachLength) {
    unsigned int mismatches = 0;
    for (std::size_t length = 0; length <= 50; ++length) {
        for (std::size_t place = 0; place < length; ++place) {
            for (int byte = 0; byte < 256; ++byte) {
                std::string bytes(length, 'p');
                bytes[place] = static_cast<char>(byte);
                auto const block = Enclose(bytes);
                char const* const from = block.get();
                char const* const end = from + length;
                bool const special = byte == '<' || byte == '&' || byte == 0x80;
                char const* const expected = special ? from + place : end;
                mismatches += ScanBytes::Find(from, end, '<', '&', '\x80') != expected;
                bool const specialOrHigh = byte == '<' || byte >= 0x80;
                char const* const expectedHigh = specialOrHigh ? from + place : end;
                mismatches += ScanBytes::FindOrHigh(from, end, '<') != expectedHigh;
            }
        }
    }
    EXPECT_EQ(mismatches, 0u);
}

TEST(ScanBytesTest, AgreesWithThePlainLoopOnRandomBytesAtEachStart) {
    std::mt19937 random(20240501);
    std::uniform_int_distribution<int> anyByte(0, 255);
    unsigned int mismatches = 0;
    for (int round = 0; round < 2000; ++round) {
        std::string bytes;
        for (int count = anyByte(random) / 2; count != 0; --count)
            bytes += static_cast<char>(anyByte(random) & (round % 2 == 0 ? 0xFF : 0x7F));
        auto const block = Enclose(bytes);
        char const* const end = block.get() + bytes.size();
        char const wanted = static_cast<char>(anyByte(random));
        for (char const* from = block.get();; ++from) {
            mismatches +=
                ScanBytes::Find(from, end, wanted) != ScanBytes::FindPlainly(from, end, wanted);
            mismatches += ScanBytes::Find(from, end, wanted, '/', ' ', '-') !=
                          ScanBytes::FindPlainly(from, end, wanted, '/', ' ', '-');
            mismatches += ScanBytes::FindOrHigh(from, end, wanted, '>') !=
                          ScanBytes::FindOrHighPlainly(from, end, wanted, '>');
            if (from == end)
                break;
        }
    }
    EXPECT_EQ(mismatches, 0u);
}

// Lengths around those of a block, with each distance to the end of what can be read.
template <int block>
unsigned int CountWrongAppends(std::mt19937& random) {
    unsigned int mismatches = 0;
    for (std::size_t length = 0; length <= 150; ++length) {
        for (std::size_t place = 0; place <= length; ++place) {
            std::string bytes(length, 'p');
            if (place < length)
                bytes[place] = place % 2 == 0 ? '<' : '&';
            auto const copy = Enclose(bytes);
            char const* const from = copy.get();
            std::string target(random() % 40, 't');
            std::string expected = target;
            char const* const end = from + length;
            mismatches += ScanBytes::AppendUntil<block>(target, from, end, '<', '&') !=
                          ScanBytes::AppendUntilPlainly<block>(expected, from, end, '<', '&');
            mismatches += target != expected;
        }
    }
    return mismatches;
}

TEST(ScanBytesTest, WhatIsAppendedIsWhatThePlainLoopAppends) {
    std::mt19937 random(20240502);
    EXPECT_EQ(CountWrongAppends<16>(random), 0u);
    EXPECT_EQ(CountWrongAppends<32>(random), 0u);
    EXPECT_EQ(CountWrongAppends<64>(random), 0u);
}

TEST(ScanBytesTest, TheEmptyRangeHoldsNothing) {
    char const byte = 'a';
    EXPECT_EQ(ScanBytes::Find(&byte, &byte, 'a'), &byte);
    EXPECT_EQ(ScanBytes::FindOrHigh(&byte, &byte, 'a'), &byte);
}

} // namespace
