// Transcodes whole texts.
#pragma once

#include <concepts>

#include "unicode/AutoUString.h"
#include "unicode/Encodings.h"
#include "unicode/UStringRef.h"

// The supported pairs: different Unicode encodings, UTF32 to itself, and UTF8 and Local8Bit in
// either direction. LocalEncoding.h declares the specializations for Local8Bit.
template <class Target, class Source>
concept TranscodablePair = (UnicodeEncoding<Target> && UnicodeEncoding<Source> &&
                            !std::same_as<Target, Source>) ||
                           (std::same_as<Target, UTF32> && std::same_as<Source, UTF32>) ||
                           (std::same_as<Target, UTF8> && std::same_as<Source, Local8Bit>) ||
                           (std::same_as<Target, Local8Bit> && std::same_as<Source, UTF8>);

// Returns the text in the encoding `Target`, for example Transcode<UTF16>(text). If `Target` is a
// Unicode encoding and `text` is empty, returns the null string. simd/Utf.h specifies which
// ill-formed sequences are accepted.
//
// Throws InvalidTextEncoding and std::bad_alloc; with Local8Bit also the exceptions of
// LocalEncoding.h.
//
// Transcode<UTF32, UTF32> copies without validating. It takes the length modulo 2^32 (see
// UStringBuilder.h).
template <TextEncoding Target, TextEncoding Source>
requires TranscodablePair<Target, Source> AutoUString<Target> Transcode(UStringRef<Source> text);

template <TextEncoding Target, TextEncoding Source>
requires TranscodablePair<Target, Source> AutoUString<Target>
Transcode(AutoUString<Source> const& text) {
    return Transcode<Target, Source>(static_cast<UStringRef<Source>>(text));
}
