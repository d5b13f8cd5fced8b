#include "unicode/AutoUString.h"

#include <algorithm>

static_assert(sizeof(OwnedArray<unsigned int>) == 2 * sizeof(void*));
static_assert(sizeof(AutoUString<UTF16>) == 2 * sizeof(void*));
static_assert(sizeof(UStringRef<UTF8>) == 3 * sizeof(void*));

template <TextEncoding E>
AutoUString<E>::AutoUString(OwnedArray<Unit> buffer) {
    std::uint64_t const count = buffer.Disposer().count;
    if (count == 0)
        return;
    begin = buffer.Release();
    end = begin + (count - 1);
}

template <TextEncoding E>
AutoUString<E>& AutoUString<E>::operator=(AutoUString&& other) noexcept {
    AutoUString taken(std::move(other));
    std::swap(begin, taken.begin);
    std::swap(end, taken.end);
    return *this;
}

template <TextEncoding E>
AutoUString<E>::~AutoUString() {
    if (begin != nullptr)
        Allocator<Unit>().Free(begin);
}

template class AutoUString<UTF8>;
template class AutoUString<UTF16>;
template class AutoUString<UTF32>;
template class AutoUString<Local8Bit>;

template <UnicodeEncoding E>
AutoUString<E> MakeUString(typename E::Unit const* begin, typename E::Unit const* end, E const&) {
    if (end <= begin)
        return AutoUString<E>();
    auto buffer = Allocate<typename E::Unit>(static_cast<unsigned long>(end - begin) + 1);
    *std::copy(begin, end, buffer.Pointer()) = 0;
    return AutoUString<E>(std::move(buffer));
}

template AutoUString<UTF8> MakeUString(unsigned char const*, unsigned char const*, UTF8 const&);
template AutoUString<UTF16> MakeUString(unsigned short const*, unsigned short const*, UTF16 const&);
template AutoUString<UTF32> MakeUString(unsigned int const*, unsigned int const*, UTF32 const&);

template <CEncoding E>
AutoUString<E> SeizeUString(OwnedArray<typename E::Unit> buffer, E const&) {
    return AutoUString<E>(std::move(buffer));
}

template AutoUString<Local8Bit> SeizeUString(OwnedArray<char>, Local8Bit const&);
template AutoUString<UTF32> SeizeUString(OwnedArray<unsigned int>, UTF32 const&);
