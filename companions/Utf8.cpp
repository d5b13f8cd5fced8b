#include "companions/Utf8.h"

#include <algorithm>

namespace {

unsigned char At(std::string_view text, std::size_t index) {
    return static_cast<unsigned char>(text[index]);
}

// The number of continuation bytes of a sequence, and the range of the first one. The range
// excludes overlong encodings, surrogates, and values above U+10FFFF (RFC 3629, section 4).
struct Continuation {
    std::size_t length;
    unsigned char min = 0x80;
    unsigned char max = 0xBF;
};

Continuation ContinuationOf(unsigned char lead) {
    if (lead >= 0xC2 && lead <= 0xDF)
        return {1};
    if (lead == 0xE0)
        return {2, 0xA0, 0xBF};
    if (lead == 0xED)
        return {2, 0x80, 0x9F};
    if (lead >= 0xE1 && lead <= 0xEF)
        return {2};
    if (lead == 0xF0)
        return {3, 0x90, 0xBF};
    if (lead >= 0xF1 && lead <= 0xF3)
        return {3};
    if (lead == 0xF4)
        return {3, 0x80, 0x8F};
    return {0};
}

} // namespace

Character DecodeCharacter(std::string_view text) {
    if (text.empty())
        return {};
    unsigned char const lead = At(text, 0);
    if (lead < 0x80)
        return {1, lead};
    Continuation const rest = ContinuationOf(lead);
    if (rest.length == 0 || text.size() <= rest.length)
        return {};
    if (At(text, 1) < rest.min || At(text, 1) > rest.max)
        return {};
    // Clears the length bits of the lead byte: as many ones as the sequence has bytes, then a zero.
    std::uint32_t codePoint = lead & (0x3FU >> rest.length);
    for (std::size_t index = 1; index <= rest.length; ++index) {
        if ((At(text, index) & 0xC0) != 0x80)
            return {};
        codePoint = codePoint << 6 | (At(text, index) & 0x3FU);
    }
    return {rest.length + 1, codePoint};
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        auto const plain = std::ranges::find_if(
            text, [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
        text.remove_prefix(static_cast<std::size_t>(plain - text.begin()));
        std::size_t const length = DecodeCharacter(text).length;
        if (length == 0)
            return text.empty();
        text.remove_prefix(length);
    }
    return true;
}
