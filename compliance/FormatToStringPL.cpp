#include "compliance/FormatToStringPL.h"

#include "data/Buffer.h"
#include "data/DebuggableException.h"
#include "data/Numeral.h"

namespace {

StringPL Format(Numeral const& numeral) {
    BufferWithCapacity<64> text;
    ConstBuffer digits{ConstData(numeral)};
    text << digits;
    // A full buffer has no room for the terminating NUL.
    // GCOVR_EXCL_START: numbers of 32 bits have at most 11 characters
    if (text.position == text.end)
        throw DataOverflow();
    // GCOVR_EXCL_STOP
    *text.position = 0;
    return StringPL(reinterpret_cast<char const*>(text.start));
}

} // namespace

StringPL FormatToStringPL(int value) { return Format(Numeral(value, 10)); }

StringPL FormatToStringPL(unsigned int value) { return Format(Numeral(value, 10)); }
