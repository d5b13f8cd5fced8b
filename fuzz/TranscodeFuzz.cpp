// Compares the six transcoders, for any chunk boundaries, with a reference implementation, and with
// iconv if it accepts the text.

#include "fuzz/Iconv.h"
#include "tests/support/Chunks.h"
#include "tests/unicode/NaiveTranscoder.h"
#include "unicode/Transcode.h"

namespace {

template <class Target, class Source>
void CompareWhole(Units<Source> const& text, TextOutcome<Target> const& reference) {
    bool const fails = reference.thrownAt != -1;
    Units<Target> whole;
    try {
        whole = UnitsOf(Transcode<Target>(RefOf<Source>(text)));
        Require(!fails && whole == reference.units, "a whole text agrees with the reference");
    } catch (InvalidTextEncoding const&) {
        Require(fails, "only text that the reference rejects is an error");
    }
    Units<Target> byIconv;
    static Iconv const converter(Iconv::Name<Target>(), Iconv::Name<Source>());
    if (!text.empty() && converter.Convert(text, byIconv))
        Require(!fails && whole == byIconv, "text that iconv accepts is converted like by iconv");
}

template <class Target, class Source>
void Compare(std::vector<std::size_t> const& lengths, std::string_view bytes) {
    Units<Source> const text = UnitsIn<Source>(bytes);
    std::vector<std::size_t> const chunks = RepeatLengths(lengths, text.size());
    Naive::Transcoder<Target, Source> reference;
    RecordedStage<Target, Source> stage;
    Require(stage.Run(text, chunks) == reference.Run(text, chunks),
            "a stream agrees with the reference");
    Require(!testing::Test::HasFailure(), "calls are in order, without empty chunks");
    CompareWhole<Target, Source>(text, reference.Run(text, {text.size()}));
}

} // namespace

int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    unsigned int const pair = input.Byte() % 6U;
    std::vector<std::size_t> const lengths = Fuzz::TakeLengths(input);
    unsigned int number = 0;
    ForEachTranscoder([&]<class Target, class Source>(Target, Source) {
        if (number++ == pair)
            Compare<Target, Source>(lengths, input.Rest());
    });
    return 0;
}
