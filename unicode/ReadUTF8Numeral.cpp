#include "unicode/ReadUTF8Numeral.h"

#include "data/ReadAsciiNumeral.h"

unsigned long long ReadUTF8DecimalNumeral64(UStringRef<UTF8> text) {
    return ReadAsciiDecimalNumeral64(EncodingCast<ConstData>(text));
}

unsigned int ReadUTF8DecimalNumeral(UStringRef<UTF8> text) {
    return ReadAsciiDecimalNumeral(EncodingCast<ConstData>(text));
}
