// Inputs of the benchmarks: deterministic, created on first use and kept until the program ends.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Inputs {

// A deterministic pseudo-random number generator (xorshift64*), the same on every machine.
class Numbers {
public:
    explicit Numbers(std::uint64_t seed) : state(seed) {}

    std::uint64_t Next();

    // Returns a number from `least` to `most`, both included.
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

// Many: about every tenth byte of descriptions and comments must be escaped in XML ("<", ">", "&").
enum class Escapes { None, Many };

std::vector<Row> const& Rows(std::size_t count, Escapes escapes = Escapes::None);

// The response document with these rows: CR LF, tabs, an XML declaration without an encoding.
std::string const& ResponseDocument(std::size_t rows, Escapes escapes = Escapes::None);

// 16 texts of 64 KiB without escapes, and the document with each in an element of its own.
std::vector<std::string> const& LongTexts();
std::string const& LongTextDocument();

// The size of the blocks in which documents are parsed, like a file that is read in blocks.
inline constexpr std::size_t blockSize = 65536;

// Calls `take` with each block of the document.
template <class Take>
void InBlocks(std::string const& document, Take take) {
    for (std::size_t from = 0; from < document.size(); from += blockSize)
        take(std::string_view(document).substr(from, blockSize));
}

// 10,000 numbers of up to 64 bits; all lengths in bits are about equally frequent.
std::vector<std::uint64_t> const& MixedNumbers();

// UTF-8 texts of 64 KiB, or up to 3 bytes less, so that no character is split.
enum class Script { Ascii, Latin, Cyrillic, Cjk, Emoji, Mixed };

std::string const& UnicodeText(Script script);

} // namespace Inputs
