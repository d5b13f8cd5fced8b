// Conversions of names and locations from and to UTF-8.
//
// This is the only place where the file layer uses encodings. All other operations take the bytes
// of a name unchanged. Here, the bytes are in the encoding of the current locale, and
// unicode/LocalEncoding.h converts them. In a process that has not set a locale, conversions of
// non-ASCII text throw.
//
// Include this header also for the members that are declared with their classes and defined here:
// FileName(UStringRef<UTF8>), FileName::MakeLocal8BitRef, FileName::MakeUTF8String and
// FileLocation::Local8BitPath. MakeLocal8BitRef and Local8BitPath return views that are marked as
// terminated. A view is valid until its name or location changes.
//
// Error handling:
// - InvalidTextEncoding for ill-formed text (unicode/GenericTranscoder.h)
// - UnixPlatform::WideToMultiByteConvertError for a code point that the locale cannot encode
// - UnixPlatform::MultiByteToWideConvertError for a name that the locale cannot decode
//
// The last two are declared in unicode/LocalEncoding.h. The constructor of FileName validates the
// converted name; operator+ checks only its length.
//
// Text is converted up to its first NUL.
#pragma once

#include "files/FileLocation.h"
#include "files/FileName.h"
#include "unicode/AutoUString.h"
#include "unicode/Encodings.h"
#include "unicode/UStringRef.h"

namespace UnixPlatform {

// Concatenate names, like operator+ in files/unix/FileName.h.
FileName operator+(UStringRef<UTF8> const& first, FileName const& second);
FileName operator+(FileName const& first, UStringRef<UTF8> const& second);

} // namespace UnixPlatform

// Calls SetFullPathName.
FileLocation MakeFileLocation(UStringRef<UTF8> path);
