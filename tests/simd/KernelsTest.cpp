#include "tests/simd/Kernels.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simd/Cpu.h"
#include "tests/support/Bytes.h"
#include "tests/support/GuardedBytes.h"

// Compares each kernel at each level of this processor with its scalar reference: all lengths up to
// a few vectors, all alignments, guard pages on both sides, random and adversarial content.
namespace {

using Kernels::Kernel;
using Kernels::Memory;
using Simd::Level;

constexpr std::size_t maxLength = 200;
constexpr std::size_t outputRoom = 4 * maxLength + 16;

std::vector<Level> AvailableLevels() {
    std::vector<Level> levels;
    for (Level level : {Level::scalar, Level::sse2, Level::ssse3, Level::avx2})
        if (level >= Simd::baseline && level <= Simd::BestLevel())
            levels.push_back(level);
    return levels;
}

// Returns exactly `length` bytes: runs of one piece or random pieces, sometimes with a random byte.
// Uses only a random number of the first pieces.
std::string MakeContent(Kernel const& kernel, std::size_t length, std::mt19937& random) {
    std::size_t const pieces = 1 + random() % kernel.pieces.size();
    std::string content;
    bool const inRuns = random() % 2 == 0;
    std::size_t piece = random() % pieces;
    while (content.size() < length) {
        if (!inRuns || random() % 24 == 0)
            piece = random() % pieces;
        content += kernel.pieces[piece];
    }
    content.resize(length);
    if (random() % 4 == 0 && !content.empty())
        content[random() % content.size()] = static_cast<char>(random());
    return content;
}

// Returns the text with a few changes of case or value.
std::string Change(std::string content, std::mt19937& random) {
    for (char& byte : content)
        if (random() % 3 == 0 && static_cast<unsigned char>((byte | 0x20) - 'a') < 26)
            byte = static_cast<char>(byte ^ 0x20);
    for (std::size_t changes = random() % 3; changes != 0 && !content.empty(); --changes)
        content[random() % content.size()] = static_cast<char>(random());
    return content;
}

class KernelRun {
public:
    explicit KernelRun(Kernel const& theKernel) : kernel(theKernel) {}

    // Runs at the first guard page with a gap of `alignment` code units, or at the second one.
    // Returns a description of the failure.
    std::string Try(std::string const& content, std::size_t alignment, bool atEnd) {
        std::size_t const gap = alignment * kernel.unit;
        unsigned char* const place =
            atEnd ? input.End() - gap - content.size() : input.Begin() + gap;
        unsigned char* const other = atEnd ? second.End() - content.size() : second.Begin();
        std::string const changed = Change(content, random);
        std::copy(content.begin(), content.end(), place);
        std::copy(changed.begin(), changed.end(), other);
        Memory const memory{place, content.size(), other, output.End() - outputRoom, outputRoom};
        if (kernel.agrees(memory, random))
            return "";
        return Shown(content) + " with " + Shown(changed) + "; ";
    }

    std::mt19937 random{20240607};

private:
    Kernel const& kernel;
    GuardedBytes input{maxLength + 64};
    GuardedBytes second{maxLength};
    GuardedBytes output{outputRoom};
};

class KernelTest : public testing::TestWithParam<Kernel> {};

TEST_P(KernelTest, AgreesWithScalarReferenceAtEveryLevel) {
    Kernel const& kernel = GetParam();
    for (Level level : AvailableLevels()) {
        Simd::PinnedLevel const pinned(level);
        KernelRun run(kernel);
        std::string failures;
        for (std::size_t length = 0; length <= maxLength; length += kernel.unit)
            for (std::size_t round = 0; round < 32; ++round) {
                std::string const content = MakeContent(kernel, length, run.random);
                failures += run.Try(content, round / 2, round % 2 == 0);
            }
        EXPECT_EQ("", failures.substr(0, 1000))
            << kernel.name << " at level " << static_cast<int>(level);
    }
}

// One different piece at each position of a run of each other piece.
TEST_P(KernelTest, AgreesForOneOddSequenceAtEveryPosition) {
    Kernel const& kernel = GetParam();
    std::size_t const pieces = std::min<std::size_t>(kernel.pieces.size(), 12);
    for (Level level : AvailableLevels()) {
        Simd::PinnedLevel const pinned(level);
        KernelRun run(kernel);
        std::string failures;
        for (std::size_t common = 0; common < pieces; ++common)
            for (std::size_t odd = 0; odd < pieces; ++odd)
                for (std::size_t place = 0; place < 40; ++place) {
                    std::string content;
                    for (std::size_t i = 0; content.size() < maxLength / 2; ++i)
                        content += kernel.pieces[i == place ? odd : common];
                    failures += run.Try(content, 0, true);
                }
        EXPECT_EQ("", failures.substr(0, 1000))
            << kernel.name << " at level " << static_cast<int>(level);
    }
}

std::string NameOf(testing::TestParamInfo<Kernel> const& info) {
    std::string name = info.param.name;
    std::erase_if(name, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; });
    return name;
}

INSTANTIATE_TEST_SUITE_P(Simd, KernelTest, testing::ValuesIn(Kernels::All()), NameOf);

} // namespace
