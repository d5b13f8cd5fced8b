#include "unicode/Transcode.h"

#include "fuzz/Iconv.h"
#include "tests/support/FailingAllocation.h"
#include "tests/unicode/RandomText.h"

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

// Deliberate: not validated.
TEST(TranscodeTest, CopiesUTF32ToItself) {
    Units<UTF32> const units{0xD800, 0x110000, 0xFFFFFFFF, 0};
    EXPECT_EQ(units, UnitsOf(Transcode<UTF32, UTF32>(RefOf<UTF32>(units))));
}

// The empty string, text with an embedded NUL and a byte order mark, and text with an error at its
// end. The leak check detects a leak of the buffer after an error.
TEST(TranscodeTest, TranscodesViewsAndStrings) {
    ForEachTranscoder([]<class Target, class Source>(Target, Source) {
        Units<UTF32> const characters{0x61, 0, 0xFEFF, 0xE9, 0x20AC, 0x1F600};
        Units<Source> text = Encoded<Source>(characters);
        auto const owned = MakeUString(text.data(), text.data() + text.size(), Source());
        AutoUString<Target> const result = Transcode<Target, Source>(RefOf<Source>(text));
        EXPECT_EQ(Encoded<Target>(characters), UnitsOf(result));
        EXPECT_EQ(Encoded<Target>(characters), UnitsOf(Transcode<Target, Source>(owned)));
        EXPECT_EQ(0u, *result.End());

        typename Source::Unit const nul = 0;
        for (UStringRef<Source> const& empty :
             {UStringRef<Source>(), UStringRef<Source>(&nul, &nul, true)})
            EXPECT_EQ(nullptr, (Transcode<Target, Source>(empty).Begin()));
        EXPECT_EQ(nullptr, (Transcode<Target, Source>(AutoUString<Source>()).Begin()));

        text.resize(10000, 0x61);
        text.push_back(static_cast<typename Source::Unit>(0xFFFFD8C3));
        EXPECT_THROW((Transcode<Target, Source>(RefOf<Source>(text))), InvalidTextEncoding);
    });
}

// `unit` is a code unit that expands to the maximum number of code units of the target. `factor` is
// the capacity of the builder for each code unit, so the builder never grows. The result is
// allocated with its exact length.
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

TEST(TranscodeTest, FailedAllocationsPropagate) {
    Units<UTF8> const text(5000, 0x61);
    std::size_t const failures = ForEachFailingAllocation([&](std::size_t) {
        try {
            AutoUString<UTF16> const result = Transcode<UTF16, UTF8>(RefOf<UTF8>(text));
        } catch (std::bad_alloc const&) {
        }
    });
    EXPECT_EQ(2u, failures);
}

template <class E>
Units<E> EveryCharacterIn() {
    Units<UTF32> characters;
    for (unsigned int value = 0; value < 0x110000; ++value)
        if (value < 0xD800 || value > 0xDFFF)
            characters.push_back(value);
    Units<E> units;
    EXPECT_TRUE(Iconv(Iconv::Name<E>(), "UTF-32LE").Convert(characters, units));
    return units;
}

template <class E>
struct Collector : UTextReceiver<E> {
    void Receive(ConstArrayOf<typename E::Unit> chunk) override {
        units.insert(units.end(), chunk.begin, chunk.end);
    }

    Units<E> units;
};

// As one chunk, and in chunks that split every sequence at every position.
TEST(TranscodeTest, EveryCharacterAgreesWithIconv) {
    ForEachTranscoder([]<class Target, class Source>(Target, Source) {
        Units<Source> const source = EveryCharacterIn<Source>();
        Units<Target> const expected = EveryCharacterIn<Target>();
        ASSERT_LT(0x10F7FFu, source.size());
        ASSERT_LT(0x10F7FFu, expected.size());
        EXPECT_TRUE(UnitsOf(Transcode<Target, Source>(RefOf<Source>(source))) == expected);
        for (std::size_t size : {1, 3}) {
            Collector<Target> collector;
            StreamTranscoder<Target, Source> transcoder;
            UTextReceiver<Source>& receiver = transcoder(collector);
            receiver.Start(Source());
            for (std::size_t place = 0; place < source.size(); place += size)
                receiver.Receive(ConstArrayOf<typename Source::Unit>(
                    source.data() + place, std::min(size, source.size() - place)));
            receiver.ReceiveEnd();
            EXPECT_TRUE(collector.units == expected) << "in chunks of " << size;
        }
    });
}

} // namespace
