// Texts in JSON that need not be UTF-8.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "companions/Rows.h"

// Adds a member with the text. If the text is not UTF-8, the member has the readable text
// (VisibleText.h), and a second member, whose name ends with "Base64", has the exact bytes.
void AddText(nlohmann::ordered_json& object, std::string const& name, std::string_view text);

// Adds a member with the text, or with null if there is none.
void AddTextOrNull(nlohmann::ordered_json& object, std::string const& name,
                   std::optional<std::string_view> text);

// Returns an object with the number of rows of each result. Results that are not UTF-8 may have the
// same readable text; their numbers are added up.
nlohmann::ordered_json MakeCounts(ResultCounts const& counts);

// Encodes bytes as base64 with padding (RFC 4648, section 4), without line breaks.
std::string EncodeBase64(std::string_view bytes);

// Decodes what EncodeBase64 returns; nothing for any other text.
std::optional<std::string> DecodeBase64(std::string_view text);
