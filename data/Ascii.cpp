#include "data/Ascii.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "data/Buffer.h"
#include "data/DebuggableException.h"
#include "simd/AsciiCase.h"

namespace Ascii {

namespace {

// A case mapping is identified by the first of the 26 letters that it changes.
constexpr unsigned char raising = 'a';
constexpr unsigned char lowering = 'A';

// Returns 0x20 for a letter that the mapping changes, otherwise 0. Arithmetic, because compilers
// vectorize it, unlike a table lookup.
constexpr unsigned char CaseBitOf(unsigned char byte, unsigned char mapping) {
    return static_cast<unsigned char>(byte - mapping) < 26 ? 0x20 : 0;
}

constexpr unsigned char Map(unsigned char byte, unsigned char mapping) {
    return byte ^ CaseBitOf(byte, mapping);
}

// Maps the bytes in order, so the target may overlap the source if the target begins first. Two
// loops, because compilers vectorize only ranges that are known to be identical or disjoint.
void MapRun(unsigned char const* source, unsigned char* target, std::size_t length,
            unsigned char mapping) {
    if (source == target)
        for (std::size_t i = 0; i < length; ++i)
            target[i] = Map(target[i], mapping);
    else
        for (std::size_t i = 0; i < length; ++i)
            target[i] = Map(source[i], mapping);
}

// HasLetter tests blocks of this many bytes. The loop over a block has no early exit, so compilers
// vectorize it.
constexpr std::size_t blockSize = 32;

constexpr CaseTable MakeTable(unsigned char mapping) {
    CaseTable table{};
    for (unsigned byte = 0; byte < 256; ++byte)
        table[byte] = Map(static_cast<unsigned char>(byte), mapping);
    return table;
}

std::string MapToString(ConstData source, unsigned char mapping) {
    std::string result = MakeString(source);
    auto* const bytes = reinterpret_cast<unsigned char*>(result.data());
    MapRun(bytes, bytes, result.size(), mapping);
    return result;
}

void MapToData(ConstData source, Data target, unsigned char mapping) {
    std::size_t const length = std::min(source.Length(), target.Length());
    MapRun(source.begin, target.begin, length, mapping);
    if (length < source.Length())
        throw DataOverflow();
}

void MapToBuffer(ConstBuffer& source, Buffer& target, unsigned char mapping) {
    std::size_t const length = std::min(source.Left().Length(), target.Room().Length());
    MapRun(source.position, target.position, length, mapping);
    source.position += length;
    target.position += length;
}

bool BlockHasLetter(unsigned char const* block, std::size_t length, unsigned char firstLetter) {
    unsigned char found = 0;
    for (std::size_t i = 0; i < length; ++i)
        found |= CaseBitOf(block[i], firstLetter);
    return found != 0;
}

bool HasLetter(ConstData text, unsigned char firstLetter) {
    unsigned char const* position = text.begin;
    for (; static_cast<std::size_t>(text.end - position) >= blockSize; position += blockSize)
        if (BlockHasLetter(position, blockSize, firstLetter))
            return true;
    return BlockHasLetter(position, static_cast<std::size_t>(text.end - position), firstLetter);
}

std::int32_t CompareMapped(CaseTable const& table, ConstData left, ConstData right) {
    std::size_t const shorter = std::min(left.Length(), right.Length());
    std::size_t const common = Simd::CommonPrefix(left.begin, right.begin, shorter);
    if (common < shorter)
        return table[left.begin[common]] - table[right.begin[common]];
    if (left.Length() == right.Length())
        return 0;
    return right.Length() < left.Length() ? 1 : -1;
}

// Returns the length of a NUL-terminated string, at most `limit`. memchr behaves as if it read
// byte after byte (C11 7.24.5.1), so `limit` may be larger than the string.
std::size_t LengthUpTo(unsigned char const* text, std::size_t limit) {
    void const* const found = std::memchr(text, 0, limit);
    if (found == nullptr)
        return limit;
    return static_cast<std::size_t>(static_cast<unsigned char const*>(found) - text);
}

} // namespace

constinit CaseTable const uppercaseTable = MakeTable(raising);
constinit CaseTable const lowercaseTable = MakeTable(lowering);

bool CaseTablesAreCorrect() {
    unsigned wrong = 0;
    for (unsigned byte = 0; byte < 256; ++byte) {
        bool const isUppercase = byte >= 65 && byte <= 90;
        bool const isLowercase = byte >= 97 && byte <= 122;
        wrong += uppercaseTable[byte] != (isLowercase ? byte - 32 : byte);
        wrong += lowercaseTable[byte] != (isUppercase ? byte + 32 : byte);
    }
    return wrong == 0;
}

std::string RaiseCase(ConstData source) { return MapToString(source, raising); }

std::string LowerCase(ConstData source) { return MapToString(source, lowering); }

void RaiseCase(ConstData source, Data target) { MapToData(source, target, raising); }

void LowerCase(ConstData source, Data target) { MapToData(source, target, lowering); }

void RaiseCase(ConstBuffer& source, Buffer& target) { MapToBuffer(source, target, raising); }

void LowerCase(ConstBuffer& source, Buffer& target) { MapToBuffer(source, target, lowering); }

bool IsLowercase(ConstData text) { return !HasLetter(text, lowering); }

bool IsUppercase(ConstData text) { return !HasLetter(text, raising); }

bool EqualIgnoringCase(ConstData left, ConstData right) {
    return left.Length() == right.Length() &&
           Simd::CommonPrefix(left.begin, right.begin, left.Length()) == left.Length();
}

std::int32_t CompareLowercase(ConstData left, ConstData right) {
    return CompareMapped(lowercaseTable, left, right);
}

std::int32_t CompareUppercase(ConstData left, ConstData right) {
    return CompareMapped(uppercaseTable, left, right);
}

std::int32_t CompareLowercase(char const* left, char const* right) {
    // Chunks of growing size: strings that differ early are not searched for their ends, and each
    // chunk is still in the cache when it is compared.
    constexpr std::size_t maxChunk = 8192;
    std::size_t chunk = 128;
    auto const* a = reinterpret_cast<unsigned char const*>(left);
    auto const* b = reinterpret_cast<unsigned char const*>(right);
    for (;; a += chunk, b += chunk, chunk = std::min(2 * chunk, maxChunk)) {
        std::size_t const length = LengthUpTo(b, LengthUpTo(a, chunk));
        std::size_t const common = Simd::CommonPrefix(a, b, length);
        if (common < length)
            return lowercaseTable[a[common]] - lowercaseTable[b[common]];
        if (length < chunk)
            return static_cast<signed char>(a[length]) - static_cast<signed char>(b[length]);
    }
}

} // namespace Ascii

ConstData TrimLeadingAsciiWhitespace(ConstData text) {
    while (text.begin != text.end && Ascii::WhiteSpace()->Contains(*text.begin))
        ++text.begin;
    return text;
}

ConstData TrimAsciiWhitespace(ConstData text) {
    text = TrimLeadingAsciiWhitespace(text);
    while (text.begin != text.end && Ascii::WhiteSpace()->Contains(text.end[-1]))
        --text.end;
    return text;
}

std::vector<ConstData> ConstData::Split(ConstData separator, bool trim, bool keepEmpty) const {
    auto const trimmed = [trim](ConstData part) {
        return trim ? TrimAsciiWhitespace(part) : part;
    };
    if (separator.IsEmpty() || separator.Length() > Length())
        return {trimmed(*this)};
    std::vector<ConstData> parts;
    auto const add = [&](ConstData part) {
        part = trimmed(part);
        if (keepEmpty || !part.IsEmpty())
            parts.push_back(part);
    };
    unsigned char const* start = begin;
    for (unsigned long position : PositionsOf(separator)) {
        add(ConstData(start, begin + position));
        start = begin + position + separator.Length();
    }
    add(ConstData(start, end));
    return parts;
}
