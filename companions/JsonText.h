// Texts in JSON that need not be UTF-8.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

// Adds a member with the text. If the text is not UTF-8, the member has the readable text
// (VisibleText.h), and a second member, whose name ends with "Base64", has the exact bytes.
void AddText(nlohmann::ordered_json& object, std::string const& name, std::string_view text);

// Encodes bytes as base64 with padding (RFC 4648, section 4), without line breaks.
std::string EncodeBase64(std::string_view bytes);

// Decodes what EncodeBase64 returns; nothing for any other text.
std::optional<std::string> DecodeBase64(std::string_view text);
