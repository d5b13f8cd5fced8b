// The six transcoders: for any split what the contract says step by step, and where iconv takes a
// text, what iconv makes of it.
#include <cstring>
#include <iconv.h>
#include <vector>

#include <gtest/gtest.h>

#include "fuzz/Fuzz.h"
#include "tests/support/Chunks.h"
#include "tests/unicode/NaiveTranscoder.h"
#include "tests/unicode/TextStreams.h"
#include "unicode/Transcode.h"

namespace {

template <class E>
char const* IconvName() {
    if constexpr (std::same_as<E, UTF8>)
        return "UTF-8";
    else if constexpr (std::same_as<E, UTF16>)
        return "UTF-16LE";
    else
        return "UTF-32LE";
}

// False where iconv refuses the text.
template <class Target, class Source>
bool ConvertByIconv(Units<Source> text, Units<Target>& result) {
    static iconv_t const converter = iconv_open(IconvName<Target>(), IconvName<Source>());
    Fuzz::Require(converter != reinterpret_cast<iconv_t>(-1), "iconv knows the encodings");
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    // No character takes more than four units, and no unit makes more than four.
    result.resize(text.size() * 4);
    char* from = reinterpret_cast<char*>(text.data());
    std::size_t fromLeft = text.size() * sizeof(typename Source::Unit);
    char* to = reinterpret_cast<char*>(result.data());
    std::size_t const room = result.size() * sizeof(typename Target::Unit);
    std::size_t toLeft = room;
    if (iconv(converter, &from, &fromLeft, &to, &toLeft) == static_cast<std::size_t>(-1))
        return false;
    result.resize((room - toLeft) / sizeof(typename Target::Unit));
    return true;
}

template <class Target, class Source>
void CompareWhole(Units<Source> const& text, TextOutcome<Target> const& plain) {
    bool const fails = plain.thrownAt != -1;
    Units<Target> whole;
    try {
        whole = UnitsOf(Transcode<Target>(RefOf<Source>(text)));
        Fuzz::Require(!fails && whole == plain.units, "a whole text is what the model makes of it");
    } catch (InvalidTextEncoding const&) {
        Fuzz::Require(fails, "what the model takes is no error");
    }
    Units<Target> byIconv;
    if (!text.empty() && ConvertByIconv<Target, Source>(text, byIconv))
        Fuzz::Require(!fails && whole == byIconv, "a proper text is what iconv makes of it");
}

template <class Target, class Source>
void Compare(std::vector<std::size_t> const& lengths, std::string_view bytes) {
    Units<Source> text(bytes.size() / sizeof(typename Source::Unit));
    if (!text.empty())
        std::memcpy(text.data(), bytes.data(), text.size() * sizeof(typename Source::Unit));

    std::vector<std::size_t> const chunks = RepeatLengths(lengths, text.size());
    Naive::Transcoder<Target, Source> plain;
    RecordedStage<Target, Source> stage;
    Fuzz::Require(stage.Run(text, chunks) == plain.Run(text, chunks),
                  "the stream is what the model makes of it");
    Fuzz::Require(!testing::Test::HasFailure(),
                  "the calls come in their order, with no empty chunk");
    CompareWhole<Target, Source>(text, plain.Run(text, {text.size()}));
}

} // namespace

int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    unsigned int const pair = input.Byte() % 6U;
    std::vector<std::size_t> const lengths = Fuzz::TakeLengths(input);
    switch (pair) {
    case 0:
        Compare<UTF16, UTF8>(lengths, input.Rest());
        break;
    case 1:
        Compare<UTF32, UTF8>(lengths, input.Rest());
        break;
    case 2:
        Compare<UTF8, UTF16>(lengths, input.Rest());
        break;
    case 3:
        Compare<UTF32, UTF16>(lengths, input.Rest());
        break;
    case 4:
        Compare<UTF8, UTF32>(lengths, input.Rest());
        break;
    default:
        Compare<UTF16, UTF32>(lengths, input.Rest());
        break;
    }
    return 0;
}
