#include "fuzz/NumeralProperties.h"
#include "unicode/EncodedNumerals.h"

namespace {

// Compares the readers for UTF-8 with those for ASCII.
void ReadUTF8(std::string const& text) {
    using namespace NumeralProperties;
    auto const* const bytes = reinterpret_cast<unsigned char const*>(text.data());
    UStringRef<UTF8> const utf8(bytes, bytes + text.size());
    unsigned long long wide = 0;
    NumeralReadResult const wideResult = TryReadAsciiDecimalNumeral(text, wide);
    ReadOrThrow(wideResult, wide, [&] { return ReadUTF8DecimalNumeral64(utf8); });
    unsigned int narrow = 0;
    NumeralReadResult const result = TryReadAsciiDecimalNumeral(text, narrow);
    ReadOrThrow(result, narrow, [&] { return ReadUTF8DecimalNumeral(utf8); });
}

} // namespace

int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    NumeralProperties::Check(input);
    for (int taken = 0; taken < 10; ++taken)
        input.Byte();
    ReadUTF8(std::string(input.Rest()));
    return 0;
}
