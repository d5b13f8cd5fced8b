#include "unicode/Transcode.h"

#include <utility>

#include <gtest/gtest.h>

#include "tests/support/FailingAllocation.h"
#include "tests/unicode/Units.h"
#include "unicode/GenericTranscoder.h"

namespace {

template <class Target, class Source>
std::string Shown(Units<Source> const& source) {
    AutoUString<Target> const result = Transcode<Target, Source>(RefOf<Source>(source));
    EXPECT_EQ(result.IsEmpty(), result.Begin() == nullptr);
    if (!result.IsEmpty()) {
        EXPECT_EQ(0u, *result.End());
    }
    return ShownUnits(UnitsOf(result));
}

TEST(TranscodeTest, CharactersOfEachLengthThroughEveryPair) {
    Units<UTF8> const utf8{0x61, 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xF0, 0x9F, 0x98, 0x80};
    Units<UTF16> const utf16{0x61, 0xE9, 0x20AC, 0xD83D, 0xDE00};
    Units<UTF32> const utf32{0x61, 0xE9, 0x20AC, 0x1F600};
    EXPECT_EQ(ShownUnits(utf16), (Shown<UTF16, UTF8>(utf8)));
    EXPECT_EQ(ShownUnits(utf32), (Shown<UTF32, UTF8>(utf8)));
    EXPECT_EQ(ShownUnits(utf8), (Shown<UTF8, UTF16>(utf16)));
    EXPECT_EQ(ShownUnits(utf32), (Shown<UTF32, UTF16>(utf16)));
    EXPECT_EQ(ShownUnits(utf8), (Shown<UTF8, UTF32>(utf32)));
    EXPECT_EQ(ShownUnits(utf16), (Shown<UTF16, UTF32>(utf32)));
}

TEST(TranscodeTest, ByteOrderMarkIsACharacterLikeAnyOther) {
    EXPECT_EQ("FEFF 61", (Shown<UTF16, UTF8>({0xEF, 0xBB, 0xBF, 0x61})));
    EXPECT_EQ("FEFF", (Shown<UTF32, UTF16>({0xFEFF})));
    EXPECT_EQ("EF BF BE", (Shown<UTF8, UTF16>({0xFFFE})));
}

// Deliberate.
TEST(TranscodeTest, UTF32ToItselfIsACopyThatTestsNothing) {
    EXPECT_EQ("D800 110000 FFFFFFFF 0", (Shown<UTF32, UTF32>({0xD800, 0x110000, 0xFFFFFFFF, 0})));
}

} // namespace
