// Random documents of single bytes and longer pieces that are significant to the parser.
#pragma once

#include <sstream>

#include "tests/support/Bytes.h"

// Returns at most `most` pieces. The result depends on the state of the generator only.
inline std::string MakeByteSoup(std::mt19937& random, unsigned int most) {
    // Separated by "|".
    static std::vector<std::string> const pieces = [] {
        std::istringstream list(Bytes(
            "<|>|&|;|/|-|--|=|\"|'|?|!|[|]| |\t|\r\n|\0|\xE9|\xC3\xA9|a|x|#|&#x|CDATA[|<![CDATA[|"
            "]]>|<!--|-->|<a>|</a>|<b c='| d=\"|&lt;|&gt;|&amp;|&quot;|&apos;|&#x41;|&#x;|&#x-1;|"
            "&#x100;|&#65;|&#xffffffffffffffffff;|&#x8000000000000041;|&#x-8000000000000041;|"
            "&#x 0x3e;|<?xml version=\"1.0\"?>|<a/>|<![C-DATA[|"
            "some text that is longer than a step of the search|<a-name-with-dashes>|"
            "<averylongnameofanelement>|]]]>"));
        std::vector<std::string> found;
        for (std::string piece; std::getline(list, piece, '|');)
            found.push_back(piece);
        return found;
    }();
    std::uniform_int_distribution<std::size_t> anyPiece(0, pieces.size() - 1);
    std::uniform_int_distribution<unsigned int> anyCount(0, most);
    std::string soup;
    for (unsigned int left = anyCount(random); left != 0; --left)
        soup += pieces[anyPiece(random)];
    return soup;
}
