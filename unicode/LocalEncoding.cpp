#include "unicode/LocalEncoding.h"

#include <cstddef>
#include <cstdlib>
#include <utility>

#include <langinfo.h>

#include "unicode/AutoNullTerminated.h"
#include "unicode/GenericTranscoder.h"
#include "unicode/Owned.h"
#include "unicode/UTextReceiver.h"

namespace UnixPlatform {

namespace {

static_assert(sizeof(wchar_t) == sizeof(UTF32::Unit), "the wide characters are UTF-32");

// The return value of the C library for text that it cannot convert.
constexpr auto unconverted = static_cast<std::size_t>(-1);

template <class Error>
std::size_t Checked(std::size_t count) {
    if (count == unconverted)
        throw Error();
    return count;
}

std::size_t Decode(UTF32::Unit* target, char const* text, std::size_t limit) {
    return Checked<MultiByteToWideConvertError>(
        std::mbstowcs(Reinterpret<wchar_t*>(target), text, limit));
}

std::size_t Encode(char* target, UTF32::Unit const* text, std::size_t limit) {
    return Checked<WideToMultiByteConvertError>(
        std::wcstombs(target, Reinterpret<wchar_t const*>(text), limit));
}

// Measures the result, then converts into a buffer of that size. Without a target, `convert` writes
// nothing and ignores its limit.
template <class Target, class Source>
AutoUString<Target> Convert(UStringRef<Source> text,
                            std::size_t (*convert)(typename Target::Unit* target,
                                                   typename Source::Unit const* text,
                                                   std::size_t limit)) {
    auto const source = MakeNullTerminatedString(text);
    std::size_t const length = convert(nullptr, source.Pointer(), 0);
    auto buffer = Allocate<typename Target::Unit>(length + 1);
    convert(buffer.Pointer(), source.Pointer(), length);
    buffer.Pointer()[length] = 0;
    return SeizeUString(std::move(buffer), Target());
}

// Throws InvalidTextEncoding unless the text can be transcoded to UTF-8.
template <class Source>
void ValidateForUTF8(UStringRef<Source> text) {
    UTextReceiver<UTF8> nowhere;
    StreamTranscoder<UTF8, Source> transcoder;
    UTextReceiver<Source>& receiver = transcoder(nowhere);
    receiver.Start(Source());
    receiver.Receive(ConstArrayOf<typename Source::Unit>(text.begin, text.end));
    receiver.ReceiveEnd();
}

} // namespace

ConstDataWithCapacity<48> IANAEncodingName(Local8Bit) { return ConstData(nl_langinfo(CODESET)); }

AutoUString<UTF32> ToNativeUnicode(UStringRef<Local8Bit> text) {
    return Convert<UTF32>(text, Decode);
}

AutoUString<Local8Bit> FromNativeUnicode(UStringRef<UTF32> text) {
    return Convert<Local8Bit>(text, Encode);
}

AutoUString<UTF8> ToUTF8(UStringRef<Local8Bit> text) {
    return Transcode<UTF8>(ToNativeUnicode(text));
}

AutoUString<UTF16> ToUTF16(UStringRef<Local8Bit> text) {
    return Transcode<UTF16>(ToNativeUnicode(text));
}

AutoUString<UTF32> ToUTF32(UStringRef<Local8Bit> text) {
    return Transcode<UTF32>(ToNativeUnicode(text));
}

AutoUString<Local8Bit> ToLocal8Bit(UStringRef<UTF8> text) {
    return FromNativeUnicode(Transcode<UTF32>(text));
}

AutoUString<Local8Bit> ToLocal8Bit(UStringRef<UTF16> text) {
    ValidateForUTF8(text);
    return FromNativeUnicode(Transcode<UTF32>(text));
}

AutoUString<Local8Bit> ToLocal8Bit(UStringRef<UTF32> text) {
    ValidateForUTF8(text);
    return FromNativeUnicode(Transcode<UTF32>(text));
}

} // namespace UnixPlatform

template <>
AutoUString<UTF8> Transcode<UTF8, Local8Bit>(UStringRef<Local8Bit> text) {
    return UnixPlatform::ToUTF8(text);
}

template <>
AutoUString<Local8Bit> Transcode<Local8Bit, UTF8>(UStringRef<UTF8> text) {
    return UnixPlatform::ToLocal8Bit(text);
}
