// Transcodes between the encoding of the current locale and Unicode.
//
// Uses mbstowcs and wcstombs with the current LC_CTYPE; wchar_t is taken as UTF-32. A process that
// has not called setlocale is in the C locale, where conversions of non-ASCII text throw.
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

// Returns nl_langinfo(CODESET), for example "UTF-8". Throws ConstDataCapacityExceeded if the name
// is longer than 48 bytes.
ConstDataWithCapacity<48> IANAEncodingName(Local8Bit);

// Convert from and to the wide characters of the platform. Throw MultiByteToWideConvertError and
// WideToMultiByteConvertError.
//
// The text ends at its first NUL. An empty result is the allocated empty string. Wide characters
// are not checked to be Unicode. Text that is not marked as terminated is copied first.
AutoUString<UTF32> ToNativeUnicode(UStringRef<Local8Bit> text);
AutoUString<Local8Bit> FromNativeUnicode(UStringRef<UTF32> text);

// Call ToNativeUnicode, then Transcode; so an empty result is the null string. Throw
// MultiByteToWideConvertError, and InvalidTextEncoding for wide characters that Transcode rejects.
AutoUString<UTF8> ToUTF8(UStringRef<Local8Bit> text);
AutoUString<UTF16> ToUTF16(UStringRef<Local8Bit> text);
AutoUString<UTF32> ToUTF32(UStringRef<Local8Bit> text);

// Call Transcode, then FromNativeUnicode; so an empty result is the allocated empty string. Throw
// InvalidTextEncoding and WideToMultiByteConvertError. The whole text is validated first, also
// after a NUL, so InvalidTextEncoding has precedence.
//
// InvalidTextEncoding is thrown for text that cannot be transcoded to UTF-8, for example a lone
// surrogate in UTF-16 or UTF-32. UTF-8 is validated by transcoding it to UTF-32, which accepts
// encoded surrogates and values up to 0x1FFFFF; those are passed to wcstombs.
AutoUString<Local8Bit> ToLocal8Bit(UStringRef<UTF8> text);
AutoUString<Local8Bit> ToLocal8Bit(UStringRef<UTF16> text);
AutoUString<Local8Bit> ToLocal8Bit(UStringRef<UTF32> text);

} // namespace UnixPlatform

// ToUTF8 and ToLocal8Bit, for generic code.
template <>
AutoUString<UTF8> Transcode<UTF8, Local8Bit>(UStringRef<Local8Bit> text);
template <>
AutoUString<Local8Bit> Transcode<Local8Bit, UTF8>(UStringRef<UTF8> text);
