// What the subjects work on: always the same bytes, made at first use and kept.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Inputs {

// Numbers that look random and are the same on every machine (xorshift64*).
class Numbers {
public:
    explicit Numbers(std::uint64_t seed) : state(seed) {}

    std::uint64_t Next();

    // At least `least` and at most `most`.
    std::size_t Between(std::size_t least, std::size_t most);

private:
    std::uint64_t state;
};

// The six texts of a result row, unescaped and ASCII. With its markup a row takes about 400 bytes.
struct Row {
    std::string designator;
    std::string result;
    std::string resultType;
    std::string evaluationTime;
    std::string description;
    std::string comment;
};

// With escapes, about every tenth byte of the description and of the comment is one that XML has to
// replace: "<", ">" or "&".
enum class Escapes { None, Many };

std::vector<Row> const& Rows(std::size_t count, Escapes escapes = Escapes::None);

// The response document of these rows: CR LF, tabs, one declaration, no encoding.
std::string const& ResponseDocument(std::size_t rows, Escapes escapes = Escapes::None);

// 16 texts of 64 KiB each, with no byte that has to be replaced; and the document that has each in
// an element of its own.
std::vector<std::string> const& LongTexts();
std::string const& LongTextDocument();

// A document arrives as a file is read, in blocks.
inline constexpr std::size_t blockSize = 65536;

template <class Take>
void InBlocks(std::string const& document, Take take) {
    for (std::size_t from = 0; from < document.size(); from += blockSize)
        take(std::string_view(document).substr(from, blockSize));
}

// 10,000 numbers below 2^64, each number of bits as often as any other.
std::vector<std::uint64_t> const& MixedNumbers();

// UTF-8 texts of 64 KiB (up to 3 bytes less, so that no character is cut).
enum class Script { Ascii, Latin, Cyrillic, Cjk, Emoji, Mixed };

std::string const& UnicodeText(Script script);

} // namespace Inputs
