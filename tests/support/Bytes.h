// Bytes for tests: literals with embedded NULs, random texts, and a readable form for failures.
#pragma once

#include <cstdio>
#include <ostream>
#include <random>
#include <string_view>
#include <vector>

#include "data/Buffer.h"
#include "data/ConstData.h"

// Returns all characters of a literal except the terminating NUL.
template <std::size_t size>
std::string Bytes(char const (&literal)[size]) {
    return std::string(literal, size - 1);
}

// Returns the 256 bytes in ascending order.
inline std::string EveryByte() {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes.push_back(static_cast<char>(byte));
    return bytes;
}

// Returns `length` random bytes of `alphabet`.
inline std::string RandomBytes(std::mt19937& random, std::size_t length,
                               std::string const& alphabet) {
    std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
    std::string bytes(length, '\0');
    for (char& byte : bytes)
        byte = alphabet[pick(random)];
    return bytes;
}

// Returns all texts over an alphabet up to a length, including the empty text.
inline std::vector<std::string> AllTexts(std::string const& alphabet, std::size_t longest) {
    std::vector<std::string> texts = {""};
    for (std::size_t i = 0; i < texts.size(); ++i)
        for (char byte : alphabet)
            if (texts[i].size() < longest)
                texts.push_back(texts[i] + byte);
    return texts;
}

// Returns the text in printable ASCII: each backslash and each other byte becomes a backslash and
// two hexadecimal digits, as in a\0D\0Ab.
inline std::string Shown(ConstData data) {
    std::string text;
    for (std::size_t i = 0; i < data.Length(); ++i) {
        if (data[i] >= ' ' && data[i] <= '~' && data[i] != '\\') {
            text.push_back(static_cast<char>(data[i]));
        } else {
            char escape[4];
            std::snprintf(escape, sizeof(escape), "\\%02X", data[i]);
            text += escape;
        }
    }
    return text;
}

// Called by GoogleTest to print views in failure messages.
inline void PrintTo(ConstData const& data, std::ostream* out) {
    *out << '"' << Shown(data) << "\" (" << data.Length() << " bytes)";
}

inline void PrintTo(Data const& data, std::ostream* out) {
    PrintTo(static_cast<ConstData>(data), out);
}
