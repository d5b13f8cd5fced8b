#include "unicode/EncodedNumerals.h"

#include "data/Numeral.h"
#include "data/ReadAsciiNumeral.h"

Numeral::operator USAsciiString() const {
    buffer[bufferSize] = '\0';
    return USAsciiString{PutSign(), End(), true};
}

unsigned long long ReadUTF8DecimalNumeral64(UStringRef<UTF8> text) {
    return ReadAsciiDecimalNumeral64(EncodingCast<ConstData>(text));
}

unsigned int ReadUTF8DecimalNumeral(UStringRef<UTF8> text) {
    return ReadAsciiDecimalNumeral(EncodingCast<ConstData>(text));
}
