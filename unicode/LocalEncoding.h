// The bridge between text in the encoding of the process's locale and text in Unicode.
//
// The C library converts, by mbstowcs and wcstombs under the current LC_CTYPE, with its wide
// characters taken to be UTF-32. Nothing here calls setlocale: in a process that has set no locale,
// whatever is beyond ASCII is refused and never garbled.
#pragma once

#include "data/ConstData.h"
#include "data/DebuggableException.h"
#include "unicode/AutoUString.h"
#include "unicode/Encodings.h"
#include "unicode/Transcode.h"
#include "unicode/UStringRef.h"

namespace UnixPlatform {

// A character that the locale cannot encode.
class WideToMultiByteConvertError : public DebuggableException {};

// A sequence of bytes that the locale cannot decode.
class MultiByteToWideConvertError : public DebuggableException {};

// The name of the locale's encoding, as nl_langinfo(CODESET) has it: "UTF-8". The tag is not looked
// at, and nothing here goes by the name. Throws ConstDataCapacityExceeded if it has more than 48
// bytes.
ConstDataWithCapacity<48> IANAEncodingName(Local8Bit);

// The conversion itself, from and to the wide characters of the platform. A text marked as
// terminated is read in place. Throw MultiByteToWideConvertError and WideToMultiByteConvertError.
//
// Deliberate: a text ends at its first NUL, and an empty result is the allocated form of the empty
// string. The wide characters are not tested to be Unicode, on either side.
AutoUString<UTF32> ToNativeUnicode(UStringRef<Local8Bit> text);
AutoUString<Local8Bit> FromNativeUnicode(UStringRef<UTF32> text);

// By ToNativeUnicode, then Transcode; so an empty result is the string of null pointers. Throw
// MultiByteToWideConvertError, and InvalidTextEncoding for wide characters that Transcode refuses.
AutoUString<UTF8> ToUTF8(UStringRef<Local8Bit> text);
AutoUString<UTF16> ToUTF16(UStringRef<Local8Bit> text);
AutoUString<UTF32> ToUTF32(UStringRef<Local8Bit> text);

// By Transcode, then FromNativeUnicode; so an empty result is allocated. Throw InvalidTextEncoding,
// and after that WideToMultiByteConvertError. All of the text is validated, also behind a NUL.
//
// Deliberate: UTF-16 and UTF-32 must be fit for UTF-8, so that 0xD800 is an InvalidTextEncoding.
// For UTF-8 it is enough to be fit for UTF-32, so that an encoded surrogate is shown to the locale.
AutoUString<Local8Bit> ToLocal8Bit(UStringRef<UTF8> text);
AutoUString<Local8Bit> ToLocal8Bit(UStringRef<UTF16> text);
AutoUString<Local8Bit> ToLocal8Bit(UStringRef<UTF32> text);

} // namespace UnixPlatform

// ToUTF8 and ToLocal8Bit, for code that is written for any pair.
template <>
AutoUString<UTF8> Transcode<UTF8, Local8Bit>(UStringRef<Local8Bit> text);
template <>
AutoUString<Local8Bit> Transcode<Local8Bit, UTF8>(UStringRef<UTF8> text);
