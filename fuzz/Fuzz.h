// What all fuzz targets share: an input taken apart, and the end of the process on a difference.
//
// A target compares with a model of its own, or looks at a property; whatever does not hold ends
// the process, so that libFuzzer keeps the input and the replay of a corpus fails.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// What each target defines. Yields 0.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size);

namespace Fuzz {

// `what` is the property that should hold, as a sentence.
inline void Require(bool holds, char const* what) {
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

// The bytes of an input, taken from the front. At its end it gives zeros and empty texts.
class Input {
public:
    Input(unsigned char const* data, std::size_t size)
        : rest(reinterpret_cast<char const*>(data), size) {}

    bool IsEmpty() const { return rest.empty(); }

    unsigned char Byte() {
        if (rest.empty())
            return 0;
        auto const byte = static_cast<unsigned char>(rest.front());
        rest.remove_prefix(1);
        return byte;
    }

    unsigned long long Number64() {
        unsigned long long value = 0;
        for (int i = 0; i < 8; ++i)
            value = value << 8 | Byte();
        return value;
    }

    // A byte that is the length, and then so many bytes, if there are so many.
    std::string Text() {
        std::size_t const told = Byte();
        std::size_t const length = std::min(told, rest.size());
        std::string const text(rest.substr(0, length));
        rest.remove_prefix(length);
        return text;
    }

    std::string_view Rest() const { return rest; }

private:
    std::string_view rest;
};

// Bytes in memory of exactly their length, so that a reader that goes beyond them, or keeps a
// pointer for longer, is found out. `shift` bytes lie in front of them, to begin anywhere in a
// block of 16.
class ExactCopy {
public:
    explicit ExactCopy(std::string_view text, std::size_t shift = 0)
        : memory(new char[shift + text.size()]), begin(memory.get() + shift), length(text.size()) {
        std::copy_n(text.data(), length, memory.get() + shift);
    }

    char const* Begin() const { return begin; }
    std::size_t Length() const { return length; }

private:
    std::unique_ptr<char[]> const memory;
    char const* const begin;
    std::size_t const length;
};

// The lengths of pieces that a text is cut into, over and over until it is used up.
class Cutting {
public:
    // One byte for how many lengths there are, up to seven, then a byte for each.
    explicit Cutting(Input& input) : lengths(input.Byte() % 8U) {
        for (std::size_t& length : lengths)
            length = input.Byte();
    }

    // The lengths of the pieces of a text of `total` units. Without a length above zero it is one.
    std::vector<std::size_t> Pieces(std::size_t total) const {
        std::vector<std::size_t> pieces;
        bool const cuts = std::any_of(lengths.begin(), lengths.end(), [](auto l) { return l > 0; });
        if (!cuts)
            return {total};
        for (std::size_t i = 0; total > 0; i = (i + 1) % lengths.size()) {
            pieces.push_back(std::min(lengths[i], total));
            total -= pieces.back();
        }
        return pieces;
    }

    // Each call of `receive(bytes, length)` sees an exact copy.
    template <class Receive>
    void Feed(std::string_view text, Receive receive) const {
        for (std::size_t length : Pieces(text.size())) {
            ExactCopy const copy(text.substr(0, length));
            receive(copy.Begin(), length);
            text.remove_prefix(length);
        }
    }

private:
    std::vector<std::size_t> lengths;
};

} // namespace Fuzz
