// Names and locations from UTF-8 and back: the one place where the file layer knows encodings.
//
// Everything else takes the bytes of a name as they are, in whatever encoding. Here they are in
// that of the process's locale, and unicode/LocalEncoding.h converts: in a process that has set no
// locale, nothing but ASCII passes.
//
// This header is also for who calls the members that are declared with their classes and defined
// here: FileName(UStringRef<UTF8>), FileName::MakeLocal8BitRef, FileName::MakeUTF8String and
// FileLocation::Local8BitPath. The two views copy nothing, are marked as terminated, and live as
// long as the name or the location is not changed.
//
// Error handling: InvalidTextEncoding for ill-formed text (declared in
// unicode/GenericTranscoder.h); UnixPlatform::WideToMultiByteConvertError for a character that the
// locale cannot encode, and UnixPlatform::MultiByteToWideConvertError for a name that it cannot
// decode (both declared in unicode/LocalEncoding.h). Names are validated after that.
//
// Text is converted up to its first NUL.
#pragma once

#include "files/FileLocation.h"
#include "files/FileName.h"
#include "unicode/AutoUString.h"
#include "unicode/Encodings.h"
#include "unicode/UStringRef.h"

namespace UnixPlatform {

// As the joining of names by + in files/unix/FileName.h.
FileName operator+(UStringRef<UTF8> const& first, FileName const& second);
FileName operator+(FileName const& first, UStringRef<UTF8> const& second);

} // namespace UnixPlatform

// Through SetFullPathName.
FileLocation MakeFileLocation(UStringRef<UTF8> path);
