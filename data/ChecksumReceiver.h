// A running checksum of a stream: CRC-32/BZIP2.
//
// Polynomial 0x04C11DB7, the most significant bit first, initial value 0xFFFFFFFF.
#pragma once

#include <cstdint>

#include "data/ConstData.h"
#include "data/DataReceiver.h"

// Value() returns the CRC register. The CRC-32/BZIP2 is its complement, ~Value(): 0xFC891918 for
// the bytes "123456789".
class ChecksumReceiver : public DataReceiver {
public:
    ChecksumReceiver();

    using DataReceiver::Receive;

    void Start() override;
    void Receive(ConstData data) override;
    void ReceiveEnd() override;

    // Returns the register: 0xFFFFFFFF after construction and after Start.
    std::uint32_t Value() const { return value; }

    // Return the CRC table of 256 words, in static storage. Each call, and so each constructor,
    // writes the words that are not yet correct and no others. So other threads can read correct
    // words at the same time.
    static std::uint32_t const* MakeTable();
    static std::uint32_t const* Table();

    // Always false. Its initializer calls Table() before main.
    static bool initializeTableAtStartup;

private:
    std::uint32_t value;
    std::uint32_t const* table;
};
