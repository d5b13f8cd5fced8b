#include "companions/Base64.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The four characters of one to three bytes.
void AppendGroup(std::string& text, std::string_view group) {
    std::uint32_t bits = 0;
    for (std::size_t index = 0; index < 3; ++index)
        bits = bits << 8 | (index < group.size() ? static_cast<unsigned char>(group[index]) : 0U);
    for (std::size_t index = 0; index < 4; ++index)
        text += index <= group.size() ? alphabet[bits >> (18 - 6 * index) & 63] : '=';
}

} // namespace

std::string EncodeBase64(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (; !bytes.empty(); bytes.remove_prefix(std::min<std::size_t>(3, bytes.size())))
        AppendGroup(text, bytes.substr(0, 3));
    return text;
}
