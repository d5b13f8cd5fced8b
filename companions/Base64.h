// Bytes as text of the base64 alphabet with padding (RFC 4648, section 4), without line ends.
#pragma once

#include <string>
#include <string_view>

std::string EncodeBase64(std::string_view bytes);
