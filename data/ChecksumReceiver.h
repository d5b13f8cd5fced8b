// A running checksum of a stream: CRC-32/BZIP2.
//
// Polynomial 0x04C11DB7, the most significant bit first, initial value 0xFFFFFFFF.
#pragma once

#include <cstdint>

#include "data/ConstData.h"
#include "data/DataReceiver.h"

// Deliberate: the last step of the checksum, the complement, is left to the caller. Value() is the
// bare register, and ~Value() the published CRC: 0xFC891918 for the bytes 123456789.
class ChecksumReceiver : public DataReceiver {
public:
    ChecksumReceiver();

    using DataReceiver::Receive;

    void Start() override;
    void Receive(ConstData data) override;
    void ReceiveEnd() override;

    // The register; 0xFFFFFFFF after construction and after Start.
    std::uint32_t Value() const { return value; }

    // The 256 words of the checksum by bytes, in static storage. Every call, and so every
    // constructor, sets all of them again. That costs time and nothing else: a word that has its
    // value already is not written, so that chains on other threads may read meanwhile.
    static std::uint32_t const* MakeTable();
    static std::uint32_t const* Table();

    // Cleared by the initialiser that calls Table() before main; nothing reads it.
    static bool initializeTableAtStartup;

private:
    std::uint32_t value;
    std::uint32_t const* table;
};
