// Stores text in JSON, even if it is not UTF-8.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "companions/Rows.h"

// Adds a member with the text. A text that is not UTF-8 needs two members: `name` has the readable
// text (MakeReadable of VisibleText.h), and `name` + "Base64" has the exact bytes.
void AddText(nlohmann::ordered_json& object, std::string const& name, std::string_view text);

// Like AddText, but adds a null member for nullopt.
void AddTextOrNull(nlohmann::ordered_json& object, std::string const& name,
                   std::optional<std::string_view> text);

// Returns an object with the number of rows for each result. Different results can have the same
// readable text if at least one is not UTF-8. Their numbers are added.
nlohmann::ordered_json MakeCounts(ResultCounts const& counts);

// Encodes bytes as base64 with padding (RFC 4648, section 4), without line breaks.
std::string EncodeBase64(std::string_view bytes);

// Decodes the output of EncodeBase64. Returns nullopt for any other text.
std::optional<std::string> DecodeBase64(std::string_view text);
