// Random documents of single bytes and longer pieces that are significant to the parser.
#pragma once

#include <random>
#include <string>
#include <string_view>

// Returns at most `most` pieces. The result depends on the state of the generator only.
inline std::string MakeByteSoup(std::mt19937& random, unsigned int most) {
    using namespace std::string_view_literals;
    static constexpr std::string_view pieces[] = {
        "<"sv,
        ">"sv,
        "&"sv,
        ";"sv,
        "/"sv,
        "-"sv,
        "--"sv,
        "="sv,
        "\""sv,
        "'"sv,
        "?"sv,
        "!"sv,
        "["sv,
        "]"sv,
        " "sv,
        "\t"sv,
        "\r\n"sv,
        "\0"sv,
        "\xE9"sv,
        "\xC3\xA9"sv,
        "a"sv,
        "x"sv,
        "#"sv,
        "&#x"sv,
        "CDATA["sv,
        "<![CDATA["sv,
        "]]>"sv,
        "<!--"sv,
        "-->"sv,
        "<a>"sv,
        "</a>"sv,
        "<b c='"sv,
        " d=\""sv,
        "&lt;"sv,
        "&gt;"sv,
        "&amp;"sv,
        "&quot;"sv,
        "&apos;"sv,
        "&#x41;"sv,
        "&#x;"sv,
        "&#x-1;"sv,
        "&#x100;"sv,
        "&#65;"sv,
        "&#xffffffffffffffffff;"sv,
        "&#x8000000000000041;"sv,
        "&#x-8000000000000041;"sv,
        "&#x 0x3e;"sv,
        "<?xml version=\"1.0\"?>"sv,
        "<a/>"sv,
        "<![C-DATA["sv,
        "some text that is longer than a step of the search"sv,
        "<a-name-with-dashes>"sv,
        "<averylongnameofanelement>"sv,
        "]]]>"sv};
    std::uniform_int_distribution<std::size_t> anyPiece(0, std::size(pieces) - 1);
    std::uniform_int_distribution<unsigned int> anyCount(0, most);
    std::string soup;
    for (unsigned int left = anyCount(random); left != 0; --left)
        soup += pieces[anyPiece(random)];
    return soup;
}
