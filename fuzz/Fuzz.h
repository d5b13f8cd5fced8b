// Shared by all fuzz targets: reads values from an input, and throws on a difference.
//
// A target compares the product with a model, or checks a property. The exception of a violation
// ends the process: libFuzzer then keeps the input, and the replay of a corpus fails. Properties in
// headers are also checked by unit tests, which catch it (fuzz/RandomInputs.h).
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// Each target defines it. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size);

namespace Fuzz {

class Violation : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

// `what` is the property that should hold, as a sentence.
inline void Require(bool holds, char const* what) {
    if (!holds)
        throw Violation(what);
}

// Takes values from the front of an input. At its end they are zeros and empty strings.
class Input {
public:
    Input(unsigned char const* data, std::size_t size)
        : rest(reinterpret_cast<char const*>(data), size) {}
    explicit Input(std::string_view bytes) : rest(bytes) {}

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

    // A byte for the length, then that many bytes, or all that are left.
    std::string Text() {
        std::size_t const wanted = Byte();
        std::size_t const length = std::min(wanted, rest.size());
        std::string const text(rest.substr(0, length));
        rest.remove_prefix(length);
        return text;
    }

    std::string_view Rest() const { return rest; }

private:
    std::string_view rest;
};

// A copy in memory that ends with it: a sanitizer finds a read beyond the copy or after its end of
// life. `shift` bytes precede it, to place its begin anywhere in a block of 16.
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

// The lengths of the chunks into which an input is split (tests/support/Chunks.h): a byte for their
// number, up to seven, then a byte for each.
inline std::vector<std::size_t> TakeLengths(Input& input) {
    std::vector<std::size_t> lengths(input.Byte() % 8U);
    for (std::size_t& length : lengths)
        length = input.Byte();
    return lengths;
}

} // namespace Fuzz
