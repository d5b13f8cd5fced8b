#include "data/Buffer.h"

#include <algorithm>
#include <cstring>

static_assert(sizeof(Buffer) == 3 * sizeof(void*));
static_assert(sizeof(ConstBuffer) == 3 * sizeof(void*));

ConstData ConstData::operator>>(Data target) const {
    std::size_t const count = std::min(Length(), target.Length());
    if (count != 0)
        std::memmove(target.begin, begin, count);
    return ConstData(begin + count, end);
}

Buffer& operator<<(Buffer& target, ConstBuffer& source) {
    ConstData const left = source.Left() >> target.Room();
    target.position += left.begin - source.position;
    source.position = left.begin;
    return target;
}
