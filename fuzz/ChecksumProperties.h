// Compares ChecksumReceiver, for any chunk boundaries, and each kernel with a bit-wise reference
// implementation.
#pragma once

#include "data/ChecksumReceiver.h"
#include "fuzz/Fuzz.h"
#include "simd/Cpu.h"
#include "simd/Crc32.h"
#include "tests/support/Chunks.h"

namespace ChecksumProperties {

inline std::uint32_t AdvanceByBits(std::uint32_t value, std::string_view bytes) {
    for (char byte : bytes) {
        value ^= std::uint32_t{static_cast<unsigned char>(byte)} << 24;
        for (int bit = 0; bit < 8; ++bit)
            value = (value << 1) ^ ((value >> 31) != 0 ? 0x04C11DB7U : 0U);
    }
    return value;
}

template <class Function>
void CompareFunction(std::uint32_t start, Fuzz::ExactCopy const& copy, Function function) {
    auto const* const bytes = reinterpret_cast<unsigned char const*>(copy.Begin());
    Require(function(start, bytes, copy.Length()) ==
                AdvanceByBits(start, {copy.Begin(), copy.Length()}),
            "each kernel agrees with the bit-wise reference");
}

inline void CompareStream(std::vector<std::size_t> const& lengths, std::string_view text) {
    ChecksumReceiver receiver;
    receiver.Receive("of a stream that was abandoned");
    receiver.Start();
    SplitByLengths(text, lengths).Feed([&](ConstData chunk) { receiver.Receive(chunk); });
    receiver.ReceiveEnd();
    Require(receiver.Value() == AdvanceByBits(0xFFFFFFFF, text),
            "the checksum of a stream agrees with the bit-wise reference");
}

// Input: the lengths of the chunks, four bytes for the initial register, the alignment of the text,
// and the text.
inline void Check(Fuzz::Input input) {
    std::vector<std::size_t> const lengths = Fuzz::TakeLengths(input);
    std::uint32_t start = 0;
    for (int i = 0; i < 4; ++i)
        start = start << 8 | input.Byte();
    std::size_t const shift = input.Byte() % 16U;
    CompareStream(lengths, input.Rest());
    Fuzz::ExactCopy const text(input.Rest(), shift);
    CompareFunction(start, text, Simd::Crc32Scalar);
    CompareFunction(start, text, Simd::Crc32Sliced);
#if SIMD_X86
    if (Simd::Uses(Simd::Level::ssse3))
        CompareFunction(start, text, Simd::Crc32Folded);
#endif
}

} // namespace ChecksumProperties
