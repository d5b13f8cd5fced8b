#include "data/AsciiTrim.h"

#include "data/Ascii.h"

ConstData TrimLeadingAsciiWhitespace(ConstData text) {
    while (text.begin != text.end && Ascii::WhiteSpace()->Contains(*text.begin))
        ++text.begin;
    return text;
}

ConstData TrimAsciiWhitespace(ConstData text) {
    text = TrimLeadingAsciiWhitespace(text);
    while (text.begin != text.end && Ascii::WhiteSpace()->Contains(text.end[-1]))
        --text.end;
    return text;
}
