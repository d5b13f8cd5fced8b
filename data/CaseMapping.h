// Mapping the case of ASCII letters, many bytes at a time.
#pragma once

#include <cstddef>

namespace CaseMapping {

// A mapping is told by the first of the 26 letters that it changes.
inline constexpr unsigned char raising = 'a';
inline constexpr unsigned char lowering = 'A';

inline constexpr unsigned char caseBit = 0x20;

// `caseBit` for one of the letters that the mapping changes, otherwise 0. Arithmetic works on many
// bytes at a time where a table takes them one by one.
constexpr unsigned char CaseBitOf(unsigned char byte, unsigned char mapping) {
    return static_cast<unsigned char>(byte - mapping) < 26 ? caseBit : 0;
}

constexpr unsigned char Map(unsigned char byte, unsigned char mapping) {
    return byte ^ CaseBitOf(byte, mapping);
}

// Maps `length` bytes, as if one after the other from the first on: the two texts may overlap.
void MapRun(unsigned char const* source, unsigned char* target, std::size_t length,
            unsigned char mapping);

// The plain form of it.
void MapByBytes(unsigned char const* source, unsigned char* target, std::size_t length,
                unsigned char mapping);

} // namespace CaseMapping
