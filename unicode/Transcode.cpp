#include "unicode/Transcode.h"

#include <concepts>
#include <cstdint>

#include "simd/Utf.h"
#include "unicode/GenericTranscoder.h"
#include "unicode/UStringBuilder.h"

namespace {

template <class E>
void Push(UTextReceiver<E>& receiver, UStringRef<E> text) {
    receiver.Start(E());
    receiver.Receive(ConstArrayOf<typename E::Unit>(text.begin, text.end));
    receiver.ReceiveEnd();
}

} // namespace

template <TextEncoding Target, TextEncoding Source>
requires TranscodablePair<Target, Source> AutoUString<Target> Transcode(UStringRef<Source> text) {
    // The maximum for one code unit of any source, so the builder never grows.
    constexpr std::uint64_t maxUnits = Simd::maxUtfUnits<typename Target::Unit>;
    UStringBuilder<Target> builder(maxUnits * text.Length());
    if constexpr (std::same_as<Target, Source>) {
        Push(builder(), text);
    } else {
        StreamTranscoder<Target, Source> transcoder;
        Push(transcoder(builder()), text);
    }
    return MakeUString(builder.Text().begin, builder.Text().end, Target());
}

template AutoUString<UTF8> Transcode(UStringRef<UTF16>);
template AutoUString<UTF8> Transcode(UStringRef<UTF32>);
template AutoUString<UTF16> Transcode(UStringRef<UTF8>);
template AutoUString<UTF16> Transcode(UStringRef<UTF32>);
template AutoUString<UTF32> Transcode(UStringRef<UTF8>);
template AutoUString<UTF32> Transcode(UStringRef<UTF16>);
template AutoUString<UTF32> Transcode(UStringRef<UTF32>);
