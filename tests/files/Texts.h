// Input texts of the tests of names and paths.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// Returns all texts over an alphabet up to a length, including the empty text.
inline std::vector<std::string> AllTexts(std::string const& alphabet, std::size_t longest) {
    std::vector<std::string> texts = {""};
    for (std::size_t first = 0, length = 1; length <= longest; ++length) {
        std::size_t const end = texts.size();
        for (; first < end; ++first) {
            for (char byte : alphabet)
                texts.push_back(texts[first] + byte);
        }
    }
    return texts;
}
