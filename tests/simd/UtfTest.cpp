#include "simd/Utf.h"

#include <string>

#include <gtest/gtest.h>

#include "simd/Cpu.h"
#include "simd/UtfMixed.h"
#include "simd/UtfSequences.h"

namespace {

using Simd::UtfProgress;

template <class To, class From>
UtfProgress TranscodeInto(std::basic_string<From> const& text, std::basic_string<To>& target) {
    return Simd::Transcode(text.data(), text.size(), target.data(), target.size());
}

using Utf8 = std::basic_string<unsigned char>;
using Utf16 = std::basic_string<unsigned short>;
using Utf32 = std::basic_string<unsigned int>;

TEST(UtfTest, StopsWithoutSpaceForTheLongestSequence) {
    for (std::size_t const room : {0u, 1u, 10u}) {
        Utf16 target(room, 0);
        UtfProgress const progress = TranscodeInto(Utf8(40, 'a'), target);
        EXPECT_EQ(room < 2 ? 0 : room - 1, progress.read);
        EXPECT_EQ(progress.read, progress.written);
        EXPECT_FALSE(progress.isIllFormed);
        EXPECT_EQ(0u, TranscodeInto(Utf8(), target).read);
    }
}

TEST(UtfTest, LeavesIncompleteSequenceUnread) {
    for (std::size_t before : {0u, 1u, 15u, 16u, 17u, 40u}) {
        Utf8 const text = Utf8(before, 'a') + Utf8{0xF0, 0x9F, 0x98};
        Utf32 target(100, 0);
        UtfProgress const progress = TranscodeInto(text, target);
        EXPECT_EQ(before, progress.read);
        EXPECT_FALSE(progress.isIllFormed);
    }
}

TEST(UtfTest, ReportsIllFormedSequenceAfterTheConvertedText) {
    for (std::size_t before : {0u, 1u, 15u, 16u, 17u, 40u}) {
        Utf16 const text = Utf16(before, 0x20AC) + Utf16{0xDC00, 0x61};
        Utf8 target(200, 0);
        UtfProgress const progress = TranscodeInto(text, target);
        EXPECT_EQ(before, progress.read);
        EXPECT_EQ(3 * before, progress.written);
        EXPECT_TRUE(progress.isIllFormed);
    }
}

TEST(UtfTest, ReadsOneSequenceOrReportsItIncomplete) {
    unsigned char const utf8[] = {0xF0, 0x9F, 0x98, 0x80};
    for (std::size_t available = 1; available < 4; ++available) {
        Simd::UtfSequence const read = Simd::UtfSequences<unsigned char>::Read(utf8, available);
        EXPECT_EQ(Simd::UtfSequence::unfinished, read.form);
        EXPECT_EQ(available, read.length);
    }
    EXPECT_EQ(0x1F600u, Simd::UtfSequences<unsigned char>::Read(utf8, 4).value);
    unsigned short const utf16[] = {0xD83D, 0xDE00};
    EXPECT_EQ(Simd::UtfSequence::unfinished,
              Simd::UtfSequences<unsigned short>::Read(utf16, 1).form);
    EXPECT_EQ(0x1F600u, Simd::UtfSequences<unsigned short>::Read(utf16, 2).value);
}

#if SIMD_X86

// A step converts 16 bytes. It stores whole vectors, so it may need more space than its result. The
// text is one step.
template <class To, class From>
void ExpectStepWithRoom(std::basic_string<From> const& text, int room, int written) {
    ASSERT_EQ(16u, text.size() * sizeof(From));
    std::basic_string<To> target(64, 0);
    auto const transcode = [&](std::size_t available, int units) {
        return Simd::TranscodeMixed(text.data(), static_cast<std::ptrdiff_t>(available),
                                    target.data(), units);
    };
    EXPECT_EQ(text.size(), transcode(text.size(), room).read);
    EXPECT_EQ(written, transcode(text.size(), room).written);
    EXPECT_EQ(0, transcode(text.size(), room - 1).read);
    EXPECT_EQ(0, transcode(text.size() - 1, room).read);
}

TEST(UtfTest, MixedSequencesNeedSpaceForWholeVectors) {
    if (Simd::BestLevel() < Simd::Level::ssse3)
        GTEST_SKIP() << "the processor has no SSSE3";
    Utf8 utf8{'a'};
    for (int i = 0; i < 5; ++i)
        utf8 += Utf8{0xE2, 0x82, 0xAC};
    Utf16 const utf16(8, 0x20AC);
    Utf32 const utf32(4, 0x1F600);
    ExpectStepWithRoom<unsigned short>(utf8, 16, 6);
    ExpectStepWithRoom<unsigned int>(utf8, 16, 6);
    ExpectStepWithRoom<unsigned char>(utf16, 28, 24);
    ExpectStepWithRoom<unsigned int>(utf16, 8, 8);
    ExpectStepWithRoom<unsigned char>(utf32, 16, 16);
    ExpectStepWithRoom<unsigned short>(utf32, 8, 8);
}

#endif

} // namespace
