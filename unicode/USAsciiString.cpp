#include "unicode/USAsciiString.h"

#include "data/Numeral.h"

Numeral::operator USAsciiString() const {
    buffer[bufferSize] = '\0';
    return USAsciiString{PutSign(), End(), true};
}
