#include "compliance/FormatToStringPL.h"

#include "data/Buffer.h"
#include "data/BufferWithCapacity.h"
#include "data/DataOverflow.h"
#include "data/Numeral.h"

namespace {

StringPL Format(Numeral const& numeral) {
    BufferWithCapacity<64> text;
    ConstBuffer digits{ConstData(numeral)};
    text << digits;
    // A full buffer has no room for the terminating zero.
    if (text.position == text.end)
        throw DataOverflow();
    *text.position = 0;
    return StringPL(reinterpret_cast<char const*>(text.start));
}

} // namespace

StringPL FormatToStringPL(int value) { return Format(Numeral(value, 10)); }

StringPL FormatToStringPL(unsigned int value) { return Format(Numeral(value, 10)); }
