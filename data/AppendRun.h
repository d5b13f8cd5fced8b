// Copying short runs, and appending them to a std::string, as writers of marked-up text do.
//
// Most of such runs are a few bytes long, and then the library's append costs several times what
// there is to copy. The plain form beside the fast one says what it means; the tests compare them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace AppendRuns {

// The bytes may be part of `target`. A null `from` is allowed where `length` is 0.
[[gnu::noinline]] inline void AppendPlainly(std::string& target, char const* from,
                                            std::size_t length) {
    target.append(from, length);
}

// Copies the first and the last bytes as one word each, which overlap where they have to.
template <class Word>
inline void CopyEnds(char* to, char const* from, std::size_t length) {
    Word first;
    Word last;
    std::memcpy(&first, from, sizeof(Word));
    std::memcpy(&last, from + length - sizeof(Word), sizeof(Word));
    std::memcpy(to, &first, sizeof(Word));
    std::memcpy(to + length - sizeof(Word), &last, sizeof(Word));
}

// The two may overlap. REQUIRES: length <= 16.
inline void CopyShort(char* to, char const* from, std::size_t length) {
    if (length >= 8)
        CopyEnds<std::uint64_t>(to, from, length);
    else if (length >= 4)
        CopyEnds<std::uint32_t>(to, from, length);
    else if (length >= 2)
        CopyEnds<std::uint16_t>(to, from, length);
    else if (length == 1)
        *to = *from;
}

// A short run is written over a block of constant size, which is appended and cut back: the library
// does that in a few instructions. (Cut by erase and not by resize, which might also grow.)
inline void Append(std::string& target, char const* from, std::size_t length) {
    static constexpr std::size_t block = 16;
    static constexpr char room[block] = {};
    std::size_t const size = target.size();
    // GCOVR_EXCL_START: no memory is so large; told so, the library need not ask
    if (size > target.max_size() - block)
        __builtin_unreachable();
    // GCOVR_EXCL_STOP
    if (length > block || size + block > target.capacity()) {
        AppendPlainly(target, from, length);
        return;
    }
    char* const end = target.data() + size;
    target.append(room, block);
    CopyShort(end, from, length);
    target.erase(size + length);
}

} // namespace AppendRuns
