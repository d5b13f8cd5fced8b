#include "data/ChecksumReceiver.h"

#include <cstddef>
#include <cstring>

#include "simd/Crc32.h"

namespace {

constexpr std::uint32_t initialValue = 0xFFFFFFFF;

std::uint32_t sharedTable[256];

} // namespace

bool ChecksumReceiver::initializeTableAtStartup = (Table(), false);

ChecksumReceiver::ChecksumReceiver() : value(initialValue), table(Table()) {}

void ChecksumReceiver::Start() { value = initialValue; }

void ChecksumReceiver::Receive(ConstData data) {
    value = Simd::Crc32(value, data.begin, data.Length());
}

void ChecksumReceiver::ReceiveEnd() {}

std::uint32_t const* ChecksumReceiver::MakeTable() {
    // One comparison, because every receiver makes it.
    if (std::memcmp(sharedTable, Simd::crc32Table.data(), sizeof(sharedTable)) == 0)
        return sharedTable;
    for (std::size_t byte = 0; byte < 256; ++byte) {
        // cppcheck-suppress duplicateConditionalAssign ; correct words are not written
        if (sharedTable[byte] != Simd::crc32Table[byte])
            sharedTable[byte] = Simd::crc32Table[byte];
    }
    return sharedTable;
}

std::uint32_t const* ChecksumReceiver::Table() { return MakeTable(); }
