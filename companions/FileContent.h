// Reads a small file into memory.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

// Returns the bytes up to the end of the file, but at most `max`. Returns nullopt and sets errno on
// failure. Does not take ownership of the descriptor.
std::optional<std::string> ReadContent(int descriptor, std::size_t max);
