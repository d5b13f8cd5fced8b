// Colours of text on a terminal: when to use them, and their escape sequences (ECMA-48).
#pragma once

#include <string_view>

class Output;

// Automatic: on a terminal, unless NO_COLOR is set and not empty, or TERM is "dumb", empty or not
// set.
enum class ColorMode { automatic, always, never };

// Returns whether to write escape sequences for colours to the output.
bool UsesColor(ColorMode mode, Output const& output);

inline constexpr std::string_view green = "\x1b[32m";
inline constexpr std::string_view yellow = "\x1b[33m";
inline constexpr std::string_view red = "\x1b[31m";
inline constexpr std::string_view noColor = "\x1b[0m";
