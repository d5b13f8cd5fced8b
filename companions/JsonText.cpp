#include "companions/JsonText.h"

#include <algorithm>
#include <cstdint>
#include <map>

#include <nlohmann/json.hpp>

#include "companions/Utf8.h"
#include "companions/VisibleText.h"

namespace {

constexpr std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Appends the four base64 characters of one to three bytes.
void AppendGroup(std::string& text, std::string_view group) {
    std::uint32_t bits = 0;
    for (std::size_t index = 0; index < 3; ++index)
        bits = bits << 8 | (index < group.size() ? static_cast<unsigned char>(group[index]) : 0U);
    for (std::size_t index = 0; index < 4; ++index)
        text += index <= group.size() ? alphabet[bits >> (18 - 6 * index) & 63] : '=';
}

// Appends the bytes of four base64 characters. Returns false if these are invalid.
bool AppendBytes(std::string& bytes, std::string_view group) {
    std::size_t const padding = group.ends_with("==") ? 2 : group.ends_with('=') ? 1 : 0;
    std::uint32_t bits = 0;
    for (char const c : group.substr(0, 4 - padding)) {
        std::size_t const digit = alphabet.find(c);
        if (digit == std::string_view::npos)
            return false;
        bits = bits << 6 | static_cast<std::uint32_t>(digit);
    }
    bits <<= 6 * padding;
    for (std::size_t index = 0; index < 3 - padding; ++index)
        bytes += static_cast<char>(bits >> (16 - 8 * index) & 0xFF);
    return true;
}

} // namespace

void AddText(nlohmann::ordered_json& object, std::string const& name, std::string_view text) {
    bool const exact = IsUtf8(text);
    object[name] = exact ? std::string(text) : MakeReadable(text);
    if (!exact)
        object[name + "Base64"] = EncodeBase64(text);
}

void AddTextOrNull(nlohmann::ordered_json& object, std::string const& name,
                   std::optional<std::string_view> text) {
    if (text)
        AddText(object, name, *text);
    else
        object[name] = nullptr;
}

nlohmann::ordered_json MakeCounts(ResultCounts const& counts) {
    // Not ordered_json, whose objects take linear time to find a member.
    std::map<std::string, unsigned int> byName;
    for (auto const& [result, count] : counts)
        byName[MakeReadable(result)] += count;
    return byName;
}

std::string EncodeBase64(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (; !bytes.empty(); bytes.remove_prefix(std::min<std::size_t>(3, bytes.size())))
        AppendGroup(text, bytes.substr(0, 3));
    return text;
}

std::optional<std::string> DecodeBase64(std::string_view text) {
    if (text.size() % 4 != 0)
        return {};
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    for (std::string_view rest = text; !rest.empty(); rest.remove_prefix(4))
        if (!AppendBytes(bytes, rest.substr(0, 4)))
            return {};
    // Rejects padding before the end, and unused bits that are not 0.
    if (EncodeBase64(bytes) != text)
        return {};
    return bytes;
}
