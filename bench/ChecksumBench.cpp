// CRC-32/BZIP2, compared with a byte-wise table, Boost and ISA-L.
//
// "ours" is ChecksumReceiver, which selects the kernel for the processor. In the operations named
// "slicing" it is the fallback for processors without carry-less multiplication.
#include <array>
#include <cstdint>
#include <map>
#include <string>

#ifdef HAVE_BOOST
#include <boost/crc.hpp>
#endif
#ifdef HAVE_ISAL
#include <isa-l/crc.h>
#endif

#include "bench/Bench.h"
#include "bench/Inputs.h"
#include "data/ChecksumReceiver.h"
#include "data/DataReceiver.h"
#include "simd/Crc32.h"

namespace {

std::uint32_t Ours(std::string const& bytes) {
    ChecksumReceiver receiver;
    StartReceiveAndEnd(receiver, bytes);
    return ~receiver.Value();
}

std::uint32_t OurSlicing(std::string const& bytes) {
    return ~Simd::Crc32Sliced(0xFFFFFFFF, reinterpret_cast<unsigned char const*>(bytes.data()),
                              bytes.size());
}

constexpr std::array<std::uint32_t, 256> byteTable = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        table[byte] = byte << 24;
        for (int bit = 0; bit < 8; ++bit)
            table[byte] = table[byte] << 1 ^ ((table[byte] >> 31) != 0 ? 0x04C11DB7 : 0);
    }
    return table;
}();

std::uint32_t ByByteTable(std::string const& bytes) {
    std::uint32_t value = 0xFFFFFFFF;
    for (char byte : bytes)
        value = value << 8 ^ byteTable[static_cast<unsigned char>(byte) ^ value >> 24];
    return ~value;
}

#ifdef HAVE_BOOST
std::uint32_t ByBoost(std::string const& bytes) {
    boost::crc_optimal<32, 0x04C11DB7, 0xFFFFFFFF, 0xFFFFFFFF, false, false> crc;
    crc.process_bytes(bytes.data(), bytes.size());
    return crc.checksum();
}
#endif

#ifdef HAVE_ISAL
// The CRC of ISA-L with the same polynomial and bit order. It complements the result itself.
std::uint32_t ByIsal(std::string const& bytes) {
    return crc32_ieee(0, reinterpret_cast<unsigned char const*>(bytes.data()), bytes.size());
}
#endif

std::string const& Bytes(std::size_t size) {
    static std::map<std::size_t, std::string> made;
    std::string& bytes = made[size];
    for (Inputs::Numbers random(size); bytes.size() < size;)
        bytes += static_cast<char>(random.Between(0, 255));
    return bytes;
}

void AddChecksums(std::string const& name, std::uint32_t (*ours)(std::string const&),
                  std::size_t size) {
    Operation<std::string> operation(
        "Checksum/" + name, [size]() -> auto& { return Bytes(size); }, SizeOf);
    operation.Add("ours", ours);
    operation.Add("byte-table", ByByteTable);
#ifdef HAVE_BOOST
    operation.Add("boost", ByBoost);
#endif
#ifdef HAVE_ISAL
    operation.Add("isal", ByIsal);
#endif
}

} // namespace

void RegisterOperations() {
    for (std::size_t size : {64, 1024, 65536, 1048576}) {
        AddChecksums("bytes-" + std::to_string(size), Ours, size);
        AddChecksums("slicing-" + std::to_string(size), OurSlicing, size);
    }
}
