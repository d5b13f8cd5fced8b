#include "data/Buffer.h"

static_assert(sizeof(Buffer) == 3 * sizeof(void*));
static_assert(sizeof(ConstBuffer) == 3 * sizeof(void*));

Buffer& operator<<(Buffer& target, ConstBuffer& source) {
    ConstData const left = source.Left() >> target.Room();
    target.position += left.begin - source.position;
    source.position = left.begin;
    return target;
}
