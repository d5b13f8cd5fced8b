#include "unicode/Transcode.h"

#include <concepts>
#include <cstdint>

#include "unicode/GenericTranscoder.h"
#include "unicode/TranscodeSequences.h"
#include "unicode/UStringBuilder.h"

namespace {

// The most units of `Target` that one unit of any source becomes: with room for so many for each,
// the builder never has to grow.
template <class Target>
constexpr std::uint64_t unitsForOne = Sequences<Target>::longest;

template <class E>
void Push(UTextReceiver<E>& receiver, UStringRef<E> text) {
    receiver.Start(E());
    receiver.Receive(ConstArrayOf<typename E::Unit>(text.begin, text.end));
    receiver.ReceiveEnd();
}

} // namespace

template <TextEncoding Target, TextEncoding Source>
AutoUString<Target> Transcode(UStringRef<Source> text) {
    UStringBuilder<Target> builder(unitsForOne<Target> * text.Length());
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
