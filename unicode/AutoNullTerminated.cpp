#include "unicode/AutoNullTerminated.h"

#include <algorithm>

static_assert(sizeof(AutoNullTerminated<char>) == 2 * sizeof(void*));

template <CUnit Unit>
AutoNullTerminated<Unit>& AutoNullTerminated<Unit>::operator=(AutoNullTerminated&& other) noexcept {
    AutoNullTerminated taken(std::move(other));
    std::swap(pointer, taken.pointer);
    std::swap(count, taken.count);
    return *this;
}

template <CUnit Unit>
AutoNullTerminated<Unit>::~AutoNullTerminated() {
    // Owned text was allocated as writable.
    if (count != 0)
        Allocator<Unit>().Free(const_cast<Unit*>(pointer));
}

template <CUnit Unit>
Unit const* AutoNullTerminated<Unit>::EmptyString() {
    static Unit const empty = 0;
    return &empty;
}

template class AutoNullTerminated<char>;
template class AutoNullTerminated<unsigned int>;

template <CEncoding E>
AutoNullTerminated<typename E::Unit> MakeNullTerminatedString(UStringRef<E> text) {
    using Unit = typename E::Unit;
    using Result = AutoNullTerminated<Unit>;
    if (text.nullTerminated)
        return Result(text.begin);
    if (text.IsEmpty())
        return Result(Result::EmptyString());
    auto buffer = Allocate<Unit>(text.Length() + 1);
    *std::copy(text.begin, text.end, buffer.Pointer()) = 0;
    return Result(std::move(buffer));
}

template AutoNullTerminated<char> MakeNullTerminatedString(UStringRef<Local8Bit>);
template AutoNullTerminated<unsigned int> MakeNullTerminatedString(UStringRef<UTF32>);
