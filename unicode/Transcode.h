// Whole texts from one encoding to another.
#pragma once

#include "unicode/AutoUString.h"
#include "unicode/Encodings.h"
#include "unicode/UStringRef.h"

// The text in the encoding `Target`: Transcode<UTF16>(text). Of an empty text, the empty string of
// null pointers; otherwise an exact allocation with its NUL. What passes and what does not is told
// with GenericTranscoder, which does the work. Throws InvalidTextEncoding, and std::bad_alloc; no
// part of the result is left behind.
//
// The pairs are the six of different Unicode encodings, Transcode<UTF32, UTF32>, and those of UTF8
// and Local8Bit, which are declared in LocalEncoding.h.
//
// Deliberate: Transcode<UTF32, UTF32> is a plain copy, which tests nothing.
template <TextEncoding Target, TextEncoding Source>
AutoUString<Target> Transcode(UStringRef<Source> text);

// The same of a string's view.
template <TextEncoding Target, TextEncoding Source>
AutoUString<Target> Transcode(AutoUString<Source> const& text) {
    return Transcode<Target, Source>(static_cast<UStringRef<Source>>(text));
}
