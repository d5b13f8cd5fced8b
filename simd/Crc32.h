// CRC-32 with the polynomial 0x04C11DB7, most significant bit first: the register of CRC-32/BZIP2,
// without the initial value and the final complement.
//
// Each function returns the register after `length` bytes, starting from the register `value`. The
// pointer may be null if `length` is 0.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Simd {

// The table for one byte: the new register is (value << 8) ^ crc32Table[byte ^ (value >> 24)].
extern std::array<std::uint32_t, 256> const& crc32Table;

// Processes byte by byte.
std::uint32_t Crc32Scalar(std::uint32_t value, unsigned char const* bytes, std::size_t length);

// Processes sixteen bytes at a time with sixteen tables. Portable.
std::uint32_t Crc32Sliced(std::uint32_t value, unsigned char const* bytes, std::size_t length);

// Processes 64 bytes at a time by carry-less multiplication. REQUIRES: Uses(Level::ssse3).
std::uint32_t Crc32Folded(std::uint32_t value, unsigned char const* bytes, std::size_t length);

// Calls the fastest of these functions for this processor and length; Crc32Scalar if SIMD_X86 is 0.
std::uint32_t Crc32(std::uint32_t value, unsigned char const* bytes, std::size_t length);

} // namespace Simd
