#include "unicode/Transcode.h"

#include <iconv.h>

#include <algorithm>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "tests/support/FailingAllocation.h"
#include "tests/unicode/TextStreams.h"
#include "tests/unicode/Units.h"
#include "unicode/GenericTranscoder.h"

namespace {

template <class Target, class Source>
concept CanTranscode = requires(UStringRef<Source> view, AutoUString<Source> const& text) {
    Transcode<Target>(view);
    Transcode<Target>(text);
};

static_assert(CanTranscode<UTF8, UTF16> && CanTranscode<UTF16, UTF32> && CanTranscode<UTF32, UTF8>);
static_assert(CanTranscode<UTF32, UTF32>);
static_assert(!CanTranscode<UTF8, UTF8> && !CanTranscode<UTF16, UTF16>);
static_assert(CanTranscode<UTF8, Local8Bit> && CanTranscode<Local8Bit, UTF8>);
static_assert(!CanTranscode<UTF16, Local8Bit> && !CanTranscode<Local8Bit, UTF16>);
static_assert(!CanTranscode<UTF32, Local8Bit> && !CanTranscode<Local8Bit, UTF32>);
static_assert(!CanTranscode<Local8Bit, Local8Bit>);

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

template <class Target, class Source>
void ExpectNullOfEmpty() {
    typename Source::Unit const nul = 0;
    for (UStringRef<Source> const& empty :
         {UStringRef<Source>(), UStringRef<Source>(&nul, &nul, true)}) {
        AutoUString<Target> const result = Transcode<Target, Source>(empty);
        EXPECT_EQ(nullptr, result.Begin());
        EXPECT_EQ(nullptr, result.End());
    }
}

TEST(TranscodeTest, EmptyTextGivesNullPointersThroughEachInstance) {
    ExpectNullOfEmpty<UTF8, UTF16>();
    ExpectNullOfEmpty<UTF8, UTF32>();
    ExpectNullOfEmpty<UTF16, UTF8>();
    ExpectNullOfEmpty<UTF16, UTF32>();
    ExpectNullOfEmpty<UTF32, UTF8>();
    ExpectNullOfEmpty<UTF32, UTF16>();
    ExpectNullOfEmpty<UTF32, UTF32>();
}

// By way of an owned string instead of a view.
template <class Target, class Source>
std::string ShownOfOwned(Units<Source> const& source) {
    AutoUString<Source> const text =
        MakeUString(source.data(), source.data() + source.size(), Source());
    AutoUString<Target> const result = Transcode<Target, Source>(text);
    EXPECT_TRUE((Transcode<Target, Source>(AutoUString<Source>()).Begin() == nullptr));
    return ShownUnits(UnitsOf(result));
}

TEST(TranscodeTest, OwnedStringsAreTranscodedLikeViews) {
    EXPECT_EQ("E9", (ShownOfOwned<UTF16, UTF8>({0xC3, 0xA9})));
    EXPECT_EQ("D83D DE00", (ShownOfOwned<UTF16, UTF32>({0x1F600})));
    EXPECT_EQ("C3 A9", (ShownOfOwned<UTF8, UTF32>({0xE9})));
    EXPECT_EQ("E9", (ShownOfOwned<UTF32, UTF8>({0xC3, 0xA9})));
    EXPECT_EQ("D800", (ShownOfOwned<UTF32, UTF32>({0xD800})));
}

TEST(TranscodeTest, NulIsAUnitLikeAnyOther) {
    EXPECT_EQ("61 0 62", (Shown<UTF16, UTF8>({0x61, 0, 0x62})));
    EXPECT_EQ("0", (Shown<UTF8, UTF32>({0})));
}

template <class Target, class Source>
void ExpectInvalid(Units<Source> const& text) {
    EXPECT_THROW((Transcode<Target, Source>(RefOf<Source>(text))), InvalidTextEncoding);
}

// The buffer of the result is released, which the leak check sees.
TEST(TranscodeTest, MalformedTextGivesNoResult) {
    Units<UTF8> utf8(10000, 0x61);
    utf8.back() = 0xC3;
    ExpectInvalid<UTF16, UTF8>(utf8);
    ExpectInvalid<UTF32, UTF8>(utf8);
    Units<UTF16> utf16(10000, 0x61);
    utf16[9000] = 0xDC00;
    ExpectInvalid<UTF8, UTF16>(utf16);
    ExpectInvalid<UTF32, UTF16>(utf16);
    Units<UTF32> utf32(10000, 0x61);
    utf32[9000] = 0x110000;
    ExpectInvalid<UTF8, UTF32>(utf32);
    ExpectInvalid<UTF16, UTF32>(utf32);
}

// `unit` is one that becomes as many units of the target as one can; `factor` is what the builder
// is given for each. So it never grows, and the result is an exact allocation.
template <class Target, class Source>
void CheckAllocations(typename Source::Unit unit, std::size_t factor) {
    std::size_t const length = 30000;
    Units<Source> const text(length, unit);
    AllocationCounter const counter;
    AutoUString<Target> const result = Transcode<Target, Source>(RefOf<Source>(text));
    EXPECT_EQ(2u, counter.Count());
    EXPECT_EQ((factor * length + result.Length() + 1) * sizeof(typename Target::Unit),
              counter.Bytes());
}

TEST(TranscodeTest, AllocatesTheWorstCaseAndTheResult) {
    CheckAllocations<UTF8, UTF16>(0x20AC, 4);
    CheckAllocations<UTF8, UTF32>(0x1F600, 4);
    CheckAllocations<UTF16, UTF8>(0x61, 2);
    CheckAllocations<UTF16, UTF32>(0x1F600, 2);
    CheckAllocations<UTF32, UTF8>(0x61, 1);
    CheckAllocations<UTF32, UTF16>(0x20AC, 1);
    CheckAllocations<UTF32, UTF32>(0xD800, 1);
}

TEST(TranscodeTest, EachFailingAllocationPassesThrough) {
    Units<UTF8> const text(5000, 0x61);
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        try {
            AutoUString<UTF16> const result = Transcode<UTF16, UTF8>(RefOf<UTF8>(text));
        } catch (std::bad_alloc const&) {
        }
    });
    EXPECT_EQ(2u, failures);
}

// ---- Every Unicode scalar value, beside the C library

Units<UTF32> EveryCharacter() {
    Units<UTF32> characters;
    for (unsigned int value = 0; value < 0x110000; ++value)
        if (value < 0xD800 || value > 0xDFFF)
            characters.push_back(value);
    return characters;
}

// The same text from the C library's conversion, in the byte order of this machine.
template <class Target>
Units<Target> Converted(char const* encoding, Units<UTF32> const& text) {
    Units<Target> result(4 * text.size() / sizeof(typename Target::Unit));
    ::iconv_t const conversion = ::iconv_open(encoding, "UTF-32LE");
    if (conversion == reinterpret_cast<::iconv_t>(-1))
        return {};
    char* from = const_cast<char*>(reinterpret_cast<char const*>(text.data()));
    std::size_t fromLeft = text.size() * sizeof(unsigned int);
    char* to = reinterpret_cast<char*>(result.data());
    std::size_t toLeft = result.size() * sizeof(typename Target::Unit);
    std::size_t const failure = ::iconv(conversion, &from, &fromLeft, &to, &toLeft);
    ::iconv_close(conversion);
    if (failure != 0 || fromLeft != 0)
        return {};
    result.resize(result.size() - toLeft / sizeof(typename Target::Unit));
    return result;
}

template <class E>
Units<E> EveryCharacterIn() {
    if constexpr (std::is_same_v<E, UTF8>)
        return Converted<UTF8>("UTF-8", EveryCharacter());
    else if constexpr (std::is_same_v<E, UTF16>)
        return Converted<UTF16>("UTF-16LE", EveryCharacter());
    else
        return EveryCharacter();
}

// Collects only.
template <class E>
class Collector : public UTextReceiver<E> {
public:
    void Receive(ConstArrayOf<typename E::Unit> piece) override {
        units.insert(units.end(), piece.begin, piece.end);
    }

    Units<E> units;
};

// Whole, and in chunks that cut every sequence everywhere.
template <class Target, class Source>
void CheckEveryCharacter() {
    Units<Source> const source = EveryCharacterIn<Source>();
    Units<Target> const expected = EveryCharacterIn<Target>();
    ASSERT_LT(0x10F7FFu, source.size());
    ASSERT_LT(0x10F7FFu, expected.size());
    EXPECT_TRUE(UnitsOf(Transcode<Target, Source>(RefOf<Source>(source))) == expected);
    for (std::size_t size : {1, 3}) {
        Collector<Target> collector;
        collector.units.reserve(expected.size());
        StreamTranscoder<Target, Source> transcoder;
        UTextReceiver<Source>& receiver = transcoder(collector);
        receiver.Start(Source());
        for (std::size_t place = 0; place < source.size(); place += size)
            receiver.Receive(ConstArrayOf<typename Source::Unit>(
                source.data() + place, std::min(size, source.size() - place)));
        receiver.ReceiveEnd();
        EXPECT_TRUE(collector.units == expected) << "in chunks of " << size;
    }
}

TEST(TranscodeTest, EveryCharacterFromUTF8ToUTF16EqualsIconv) {
    CheckEveryCharacter<UTF16, UTF8>();
}
TEST(TranscodeTest, EveryCharacterFromUTF8ToUTF32EqualsIconv) {
    CheckEveryCharacter<UTF32, UTF8>();
}
TEST(TranscodeTest, EveryCharacterFromUTF16ToUTF8EqualsIconv) {
    CheckEveryCharacter<UTF8, UTF16>();
}
TEST(TranscodeTest, EveryCharacterFromUTF16ToUTF32EqualsIconv) {
    CheckEveryCharacter<UTF32, UTF16>();
}
TEST(TranscodeTest, EveryCharacterFromUTF32ToUTF8EqualsIconv) {
    CheckEveryCharacter<UTF8, UTF32>();
}
TEST(TranscodeTest, EveryCharacterFromUTF32ToUTF16EqualsIconv) {
    CheckEveryCharacter<UTF16, UTF32>();
}

} // namespace
