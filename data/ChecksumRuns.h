// A CRC-32 (polynomial 0x04C11DB7, the most significant bit first) advanced by many bytes at
// a time.
//
// Each form gives what the plain step, a byte at a time by `byteTable`, gives for the same bytes:
//
//     value = (value << 8) ^ byteTable[byte ^ (value >> 24)]
#pragma once

#include <array>
#include <cstdint>

#include "data/ConstData.h"

namespace ChecksumRuns {

// What a byte contributes to the register.
using ByteTable = std::array<std::uint32_t, 256>;
extern ByteTable const& byteTable;

// By tables, sixteen bytes at a time: takes blocks of sixteen off the front of `data`, as many as
// there are, and yields the new register.
std::uint32_t AdvanceBySlicing(std::uint32_t value, ConstData& data);

// By carry-less multiplication, sixty-four bytes at a time: the same with blocks of sixty-four.
// REQUIRES: CanFold(), and sixty-four bytes at least.
std::uint32_t AdvanceByFolding(std::uint32_t value, ConstData& data);

// Whether the processor has that multiplication.
bool CanFold();

// By the best form for this processor and these bytes: leaves fewer than sixteen of them.
std::uint32_t Advance(std::uint32_t value, ConstData& data);

} // namespace ChecksumRuns
