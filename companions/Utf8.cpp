#include "companions/Utf8.h"

#include <algorithm>

namespace {

unsigned char At(std::string_view text, std::size_t index) {
    return static_cast<unsigned char>(text[index]);
}

// What may stand behind a lead byte: so many bytes, the first of them within narrower limits where
// the lead byte alone would let overlong forms, surrogates or values that are too large pass.
struct Rest {
    std::size_t length;
    unsigned char lowest = 0x80;
    unsigned char highest = 0xBF;
};

Rest RestBehind(unsigned char lead) {
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

std::size_t LengthOfCharacter(std::string_view text) {
    if (text.empty())
        return 0;
    if (At(text, 0) < 0x80)
        return 1;
    Rest const rest = RestBehind(At(text, 0));
    if (rest.length == 0 || text.size() <= rest.length)
        return 0;
    if (At(text, 1) < rest.lowest || At(text, 1) > rest.highest)
        return 0;
    for (std::size_t index = 2; index <= rest.length; ++index)
        if ((At(text, index) & 0xC0) != 0x80)
            return 0;
    return rest.length + 1;
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        auto const plain = std::ranges::find_if(
            text, [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
        text.remove_prefix(static_cast<std::size_t>(plain - text.begin()));
        std::size_t const length = LengthOfCharacter(text);
        if (length == 0)
            return text.empty();
        text.remove_prefix(length);
    }
    return true;
}
