#include "data/ChecksumRuns.h"

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

using Form = std::uint32_t (*)(std::uint32_t, ConstData&);

struct NamedForm {
    char const* name;
    Form advance;
    std::size_t block;
};

std::vector<NamedForm> AllForms() {
    using namespace ChecksumRuns;
    std::vector<NamedForm> forms{{"Advance", Advance, 16}, {"slicing", AdvanceBySlicing, 16}};
    if (CanFold())
        forms.push_back({"folding", AdvanceByFolding, 64});
    return forms;
}

// The register by the definition, bit by bit.
std::uint32_t Plain(std::uint32_t value, unsigned char const* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        value ^= static_cast<std::uint32_t>(bytes[i]) << 24;
        for (int bit = 0; bit < 8; ++bit)
            value = (value & 0x80000000u) != 0 ? value << 1 ^ 0x04C11DB7u : value << 1;
    }
    return value;
}

TEST(ChecksumRunsTest, EveryFormTakesItsBlocksAndAgreesWithTheDefinition) {
    unsigned const seed = 70;
    std::mt19937 random(seed);
    std::string wrong;
    for (int round = 0; round < 3000; ++round) {
        std::size_t const length = 64 + random() % 900;
        std::string const bytes = RandomBytes(random, length, EveryByte());
        // In memory that ends with the bytes, so that a look behind it is found out.
        std::unique_ptr<unsigned char[]> const exact(new unsigned char[length]);
        std::memcpy(exact.get(), bytes.data(), length);
        auto const start = static_cast<std::uint32_t>(random());
        for (NamedForm const& form : AllForms()) {
            ConstData data(exact.get(), length);
            std::uint32_t const value = form.advance(start, data);
            std::size_t const taken = length - data.Length();
            if (taken != length - length % form.block || data.end != exact.get() + length ||
                value != Plain(start, exact.get(), taken))
                wrong += std::string(form.name) + " of " + std::to_string(length) + "; ";
        }
    }
    EXPECT_EQ("", wrong.substr(0, 1000)) << "seed " << seed;
}

TEST(ChecksumRunsTest, ShortRunsAreLeftAlone) {
    std::string const bytes(15, 'x');
    for (Form form : {ChecksumRuns::Advance, ChecksumRuns::AdvanceBySlicing})
        for (std::size_t length = 0; length < 16; ++length) {
            ConstData data(bytes.data(), length);
            EXPECT_EQ(5u, form(5, data));
            EXPECT_EQ(length, data.Length());
        }
}

TEST(ChecksumRunsTest, TableHoldsTheStepOfEachByte) {
    unsigned wrong = 0;
    for (unsigned i = 0; i < 256; ++i) {
        auto const byte = static_cast<unsigned char>(i);
        wrong += ChecksumRuns::byteTable[i] != Plain(0, &byte, 1);
    }
    EXPECT_EQ(0u, wrong);
}

TEST(ChecksumRunsTest, ProcessorWithoutCarrylessMultiplicationFindsTheSame) {
    OtherProcess other([] {
        TakeAway(ProcessorFeatures::carrylessMultiplication);
        EXPECT_FALSE(ChecksumRuns::CanFold());
        std::vector<unsigned char> const bytes(160, 'q');
        ConstData data(bytes.data(), bytes.size());
        EXPECT_EQ(Plain(1, bytes.data(), bytes.size()), ChecksumRuns::Advance(1, data));
        EXPECT_TRUE(data.IsEmpty());
    });
    EXPECT_EQ(ExitStatus::Exited(0), other.Wait());
}

} // namespace
