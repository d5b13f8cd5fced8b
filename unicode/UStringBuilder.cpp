#include "unicode/UStringBuilder.h"

#include <algorithm>
#include <utility>

template <UnicodeEncoding E>
void UStringBuilder<E>::Start(E) {
    storage = Allocate<Unit>(initialCapacity);
    capacity = initialCapacity;
    position = storage.Pointer();
}

template <UnicodeEncoding E>
void UStringBuilder<E>::Receive(ConstArrayOf<Unit> units) {
    std::uint32_t const count = static_cast<std::uint32_t>(units.Length());
    std::uint64_t const held = Text().Length();
    if (held + count > capacity)
        Grow(held, held + count);
    position = std::copy_n(units.begin, count, position);
}

template <UnicodeEncoding E>
void UStringBuilder<E>::Grow(std::uint64_t held, std::uint64_t needed) {
    std::uint64_t const newCapacity = std::max(2 * capacity, needed);
    OwnedArray<Unit> grown = Allocate<Unit>(newCapacity);
    position =
        std::copy_n(storage.Pointer(), held, grown.Pointer()); // GCOVR_EXCL_BR_LINE: no throw
    storage = std::move(grown);
    capacity = newCapacity;
}

template class UStringBuilder<UTF8>;
template class UStringBuilder<UTF16>;
template class UStringBuilder<UTF32>;
