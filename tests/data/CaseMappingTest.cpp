#include "data/CaseMapping.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>

#include "tests/support/Bytes.h"

namespace {

using namespace CaseMapping;

// Far from this file's subject: only letters of ASCII have a case.
unsigned char Expected(unsigned char byte, unsigned char mapping) {
    if (mapping == raising)
        return byte >= 'a' && byte <= 'z' ? static_cast<unsigned char>(byte - 32) : byte;
    return byte >= 'A' && byte <= 'Z' ? static_cast<unsigned char>(byte + 32) : byte;
}

TEST(CaseMappingTest, EveryByteIsMappedAtEveryPlaceOfABlock) {
    unsigned wrong = 0;
    for (unsigned char mapping : {raising, lowering})
        for (unsigned byte = 0; byte < 256; ++byte)
            for (std::size_t place = 0; place < 40; ++place) {
                std::string source(40, '.');
                source[place] = static_cast<char>(byte);
                std::string target(40, '\0');
                MapRun(reinterpret_cast<unsigned char const*>(source.data()),
                       reinterpret_cast<unsigned char*>(target.data()), 40, mapping);
                std::string expected = source;
                expected[place] =
                    static_cast<char>(Expected(static_cast<unsigned char>(byte), mapping));
                wrong += target != expected;
            }
    EXPECT_EQ(0u, wrong);
}

// In arrays of exactly their size, so that a look or a write behind them is found out.
TEST(CaseMappingTest, EveryLengthIsMappedApartAndInPlace) {
    std::mt19937 random(71);
    for (std::size_t length = 0; length < 150; ++length) {
        std::string const bytes = RandomBytes(random, length, EveryByte());
        std::unique_ptr<unsigned char[]> const source(new unsigned char[length]);
        std::unique_ptr<unsigned char[]> const target(new unsigned char[length]);
        std::unique_ptr<unsigned char[]> const expected(new unsigned char[length]);
        for (std::size_t i = 0; i < length; ++i) {
            source[i] = static_cast<unsigned char>(bytes[i]);
            expected[i] = Expected(source[i], lowering);
        }
        MapRun(source.get(), target.get(), length, lowering);
        EXPECT_TRUE(length == 0 || std::memcmp(target.get(), expected.get(), length) == 0);
        MapRun(source.get(), source.get(), length, lowering);
        EXPECT_TRUE(length == 0 || std::memcmp(source.get(), expected.get(), length) == 0);
    }
}

// A byte that has been mapped onto a place of the source is then the source's.
TEST(CaseMappingTest, OverlappingTextsAreMappedByteAfterByte) {
    std::mt19937 random(72);
    for (int distance = -40; distance <= 40; ++distance)
        for (std::size_t length : {1u, 15u, 16u, 17u, 39u, 41u, 64u, 100u}) {
            std::string bytes = RandomBytes(random, 200, EveryByte());
            std::string expected = bytes;
            auto* const text = reinterpret_cast<unsigned char*>(bytes.data());
            auto* const other = reinterpret_cast<unsigned char*>(expected.data());
            for (std::size_t i = 0; i < length; ++i)
                other[50 + distance + static_cast<int>(i)] = Expected(other[50 + i], raising);
            MapRun(text + 50, text + 50 + distance, length, raising);
            ASSERT_EQ(expected, bytes) << distance << ", " << length;
        }
}

TEST(CaseMappingTest, BothFormsAgreeOnRandomTexts) {
    std::mt19937 random(73);
    for (int round = 0; round < 2000; ++round) {
        std::string const source =
            RandomBytes(random, random() % 300, Bytes("aAzZ@[`{\x7F\x80\xFF"));
        std::string one(source.size(), '\0');
        std::string other(source.size(), '\0');
        auto const* const from = reinterpret_cast<unsigned char const*>(source.data());
        unsigned char const mapping = round % 2 == 0 ? raising : lowering;
        MapRun(from, reinterpret_cast<unsigned char*>(one.data()), source.size(), mapping);
        MapByBytes(from, reinterpret_cast<unsigned char*>(other.data()), source.size(), mapping);
        ASSERT_EQ(other, one) << "round " << round;
    }
}

} // namespace
