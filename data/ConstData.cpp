#include "data/ConstData.h"

#include <algorithm>
#include <iterator>

static_assert(sizeof(ConstData) == 2 * sizeof(void*), "a pair of pointers, passed in registers");

namespace {

// Unlike memcmp, accepts null pointers if `length` is 0.
bool EqualBytes(unsigned char const* left, unsigned char const* right, std::size_t length) {
    return length == 0 || std::memcmp(left, right, length) == 0;
}

// Returns the number of equal bytes at the start of both, up to `length`.
std::size_t EqualLength(unsigned char const* left, unsigned char const* right, std::size_t length) {
    return static_cast<std::size_t>(std::mismatch(left, left + length, right).first - left);
}

// The same, from the ends.
std::size_t EqualLengthReversed(unsigned char const* leftEnd, unsigned char const* rightEnd,
                                std::size_t length) {
    auto const left = std::make_reverse_iterator(leftEnd);
    auto const right = std::make_reverse_iterator(rightEnd);
    auto const end = left + static_cast<std::ptrdiff_t>(length);
    return static_cast<std::size_t>(std::mismatch(left, end, right).first - left);
}

std::int32_t CompareLengths(ConstData left, ConstData right) {
    if (left.Length() == right.Length())
        return 0;
    return left.Length() < right.Length() ? -1 : 1;
}

// Returns the first match, or null. REQUIRES: `pattern` is not empty.
//
// memmem (POSIX.1-2024; earlier a GNU extension) takes linear time in glibc even in the worst case,
// unlike std::string_view::find, and allocates nothing, unlike std::boyer_moore_searcher.
unsigned char const* Find(ConstData range, ConstData pattern) {
    if (pattern.Length() > range.Length())
        return nullptr;
    return static_cast<unsigned char const*>(
        memmem(range.begin, range.Length(), pattern.begin, pattern.Length()));
}

} // namespace

bool ConstData::Contains(unsigned char byte) const { return PositionOf(byte) != notFound; }

bool ConstData::Contains(ConstData pattern) const {
    return pattern.IsEmpty() || PositionOf(pattern) != notFound;
}

std::uint64_t ConstData::PositionOf(unsigned char byte) const {
    if (IsEmpty())
        return notFound;
    void const* found = std::memchr(begin, byte, Length());
    return found == nullptr
               ? notFound
               : static_cast<std::uint64_t>(static_cast<unsigned char const*>(found) - begin);
}

std::uint64_t ConstData::PositionOf(ConstData pattern) const {
    if (pattern.IsEmpty())
        return notFound;
    unsigned char const* found = Find(*this, pattern);
    return found == nullptr ? notFound : static_cast<std::uint64_t>(found - begin);
}

std::vector<unsigned long> ConstData::PositionsOf(ConstData pattern) const {
    std::vector<unsigned long> positions;
    if (pattern.IsEmpty())
        return positions;
    ConstData rest = *this;
    while (unsigned char const* found = Find(rest, pattern)) {
        positions.push_back(static_cast<unsigned long>(found - begin));
        rest.begin = found + pattern.Length();
    }
    return positions;
}

bool ConstData::StartsWith(ConstData pattern) const {
    return pattern.Length() <= Length() && EqualBytes(begin, pattern.begin, pattern.Length());
}

bool ConstData::EndsWith(ConstData pattern) const {
    return pattern.Length() <= Length() &&
           EqualBytes(end - pattern.Length(), pattern.begin, pattern.Length());
}

bool operator==(ConstData const& left, ConstData const& right) {
    return left.Length() == right.Length() && EqualBytes(left.begin, right.begin, left.Length());
}

bool operator<(ConstData const& left, ConstData const& right) {
    std::size_t const common = std::min(left.Length(), right.Length());
    int const order = common == 0 ? 0 : std::memcmp(left.begin, right.begin, common);
    return order < 0 || (order == 0 && left.Length() < right.Length());
}

std::int32_t Compare(ConstData left, ConstData right) {
    std::size_t const common = std::min(left.Length(), right.Length());
    std::size_t const equal = EqualLength(left.begin, right.begin, common);
    return equal < common ? left[equal] - right[equal] : CompareLengths(left, right);
}

std::int32_t CompareReversed(ConstData left, ConstData right) {
    std::size_t const common = std::min(left.Length(), right.Length());
    std::size_t const equal = EqualLengthReversed(left.end, right.end, common);
    return equal < common ? *(left.end - equal - 1) - *(right.end - equal - 1)
                          : CompareLengths(left, right);
}

std::string MakeString(ConstData data) { return std::string(data.View()); }
