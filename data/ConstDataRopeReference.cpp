#include "data/ConstDataRopeReference.h"

#include "data/Buffer.h"

static_assert(sizeof(ConstDataRopeReference) == 2 * sizeof(void*));

std::uint64_t TotalLength(ConstDataRopeReference rope) {
    std::uint64_t total = 0;
    for (ConstData const* piece = rope.begin; piece != rope.end; ++piece)
        total += piece->Length();
    return total;
}

Data operator<<(Data target, ConstDataRopeReference rope) {
    Buffer buffer(target);
    return (buffer << rope).Room();
}

Buffer& operator<<(Buffer& target, ConstDataRopeReference rope) {
    for (ConstData const* piece = rope.begin; piece != rope.end && !target.IsFull(); ++piece) {
        ConstBuffer source(*piece);
        target << source;
    }
    return target;
}

std::string MakeString(ConstDataRopeReference rope) {
    std::string text;
    text.reserve(TotalLength(rope));
    for (ConstData const* piece = rope.begin; piece != rope.end; ++piece)
        text.append(piece->View());
    return text;
}
