#include "files/EncodedNames.h"

#include "data/ConstData.h"
#include "unicode/LocalEncoding.h"

namespace {

ConstData BytesOf(AutoUString<Local8Bit> const& text) { return EncodingCast<ConstData>(text); }

} // namespace

namespace UnixPlatform {

FileName::FileName(UStringRef<UTF8> const& name) : FileName(BytesOf(ToLocal8Bit(name))) {}

UStringRef<Local8Bit> FileName::MakeLocal8BitRef() const {
    return UStringRef<Local8Bit>(text, text + length, true);
}

AutoUString<UTF8> FileName::MakeUTF8String() const { return ToUTF8(MakeLocal8BitRef()); }

UStringRef<Local8Bit> FileLocation::Local8BitPath() const {
    return EncodingCast<UStringRef<Local8Bit>>(text);
}

FileName operator+(UStringRef<UTF8> const& first, FileName const& second) {
    return BytesOf(ToLocal8Bit(first)) + second;
}

FileName operator+(FileName const& first, UStringRef<UTF8> const& second) {
    return first + BytesOf(ToLocal8Bit(second));
}

} // namespace UnixPlatform

FileLocation MakeFileLocation(UStringRef<UTF8> path) {
    return MakeFileLocation(BytesOf(UnixPlatform::ToLocal8Bit(path)));
}
