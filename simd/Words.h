// Machine words at any address, and words with the same byte repeated.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace Simd {

static_assert(std::endian::native == std::endian::little,
              "the first byte in memory is the lowest byte of a word");

template <class Word>
Word LoadWord(void const* from) {
    Word word;
    std::memcpy(&word, from, sizeof(word));
    return word;
}

template <class Word>
void StoreWord(void* to, Word word) {
    std::memcpy(to, &word, sizeof(word));
}

constexpr std::uint64_t InAllBytes(unsigned char byte) {
    return std::uint64_t{0x0101010101010101} * byte;
}

} // namespace Simd
