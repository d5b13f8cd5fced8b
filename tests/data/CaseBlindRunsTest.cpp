#include "data/CaseBlindRuns.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/data/LackingFeature.h"
#include "tests/support/Bytes.h"
#include "tests/support/OtherProcess.h"

namespace {

using Form = std::size_t (*)(unsigned char const*, unsigned char const*, std::size_t);

std::vector<Form> AllForms() {
    using namespace CaseBlindRuns;
    std::vector<Form> forms{CommonLength, CommonLengthByBytes, CommonLengthBy16};
    if (CanCompareBy32())
        forms.push_back(CommonLengthBy32);
    return forms;
}

int Lowered(int byte) { return byte >= 'A' && byte <= 'Z' ? byte + 32 : byte; }

// In memory that ends with the text, so that a look behind it is found out.
std::unique_ptr<unsigned char[]> ExactCopy(std::string const& text) {
    std::unique_ptr<unsigned char[]> copy(new unsigned char[text.size()]);
    if (!text.empty())
        std::memcpy(copy.get(), text.data(), text.size());
    return copy;
}

TEST(CaseBlindRunsTest, NothingInFrontOfATextIsTakenForIt) {
    // Blocks of 32; what one text has behind its first block, the other has in front of it.
    auto const block = [](char letter) {
        return std::string(32, letter);
    };
    std::string const left = block('a') + block('b') + block('c') + block('d');
    std::string const front = block('d') + block('c') + block('b');
    std::string const right = front + block('a') + block('x') + block('y') + block('z');
    for (Form form : AllForms()) {
        auto const* const one = reinterpret_cast<unsigned char const*>(left.data());
        auto const* const other =
            reinterpret_cast<unsigned char const*>(right.data()) + front.size();
        EXPECT_EQ(32u, form(one, other, left.size()));
        EXPECT_EQ(32u, form(other, one, left.size()));
    }
}

TEST(CaseBlindRunsTest, EveryPairOfBytesIsToldApartAtEveryPlaceOfABlock) {
    for (Form form : AllForms())
        for (std::size_t length : {1, 8, 13, 16, 32, 67}) {
            unsigned mismatches = 0;
            std::vector<unsigned char> left(length, 'q');
            std::vector<unsigned char> right(length, 'Q');
            for (int a = 0; a < 256; ++a)
                for (int b = 0; b < 256; ++b) {
                    std::size_t const i = static_cast<std::size_t>(a + b) % length;
                    left[i] = static_cast<unsigned char>(a);
                    right[i] = static_cast<unsigned char>(b);
                    std::size_t const expected = Lowered(a) == Lowered(b) ? length : i;
                    mismatches += form(left.data(), right.data(), length) != expected;
                    left[i] = 'q';
                    right[i] = 'Q';
                }
            EXPECT_EQ(0u, mismatches) << length;
        }
}

// High bytes beside letters, where a carry from byte to byte would show.
TEST(CaseBlindRunsTest, AllFormsAgreeOnRandomTexts) {
    unsigned const seed = 23;
    std::mt19937 random(seed);
    std::string mismatches;
    for (int round = 0; round < 20000; ++round) {
        std::string const left =
            RandomBytes(random, random() % 150, Bytes("aAzZ@[`{\x7F\x80\xFF\xC1\xE1\x00"));
        std::string right = left;
        for (char& byte : right)
            if (static_cast<unsigned char>(Lowered(byte & 0xFF) - 'a') < 26)
                byte = static_cast<char>(byte ^ (random() % 2 * 0x20));
        for (std::size_t errors = random() % 3; errors != 0 && !right.empty(); --errors)
            right[random() % right.size()] = static_cast<char>(random());
        auto const a = ExactCopy(left);
        auto const b = ExactCopy(right);
        std::size_t expected = 0;
        while (expected < left.size() && Lowered(a[expected]) == Lowered(b[expected]))
            ++expected;
        for (Form form : AllForms())
            if (form(a.get(), b.get(), left.size()) != expected)
                mismatches += Shown(left) + " and " + Shown(right) + "; ";
    }
    EXPECT_EQ("", mismatches.substr(0, 1000)) << "seed " << seed;
}

TEST(CaseBlindRunsTest, NothingIsEqualToNothing) {
    for (Form form : AllForms())
        EXPECT_EQ(0u, form(nullptr, nullptr, 0));
}

TEST(CaseBlindRunsTest, ProcessorWithoutWideRegistersFindsTheSame) {
    OtherProcess other([] {
        TakeAway(ProcessorFeatures::avx2);
        EXPECT_FALSE(CaseBlindRuns::CanCompareBy32());
        std::vector<unsigned char> left(100, 'q');
        std::vector<unsigned char> right(100, 'Q');
        EXPECT_EQ(100u, CaseBlindRuns::CommonLength(left.data(), right.data(), 100));
        right[71] = 'x';
        EXPECT_EQ(71u, CaseBlindRuns::CommonLength(left.data(), right.data(), 100));
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
}

} // namespace
