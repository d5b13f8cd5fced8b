// Shared code of all fuzz targets: reads values from an input, and throws on a violation.
//
// A target compares the product with a reference implementation, or checks a property. A violation
// is an exception that terminates the process, so libFuzzer saves the input, and the replay of a
// corpus fails. Unit tests also check the properties in headers, and catch the exception
// (RandomInputs.h).
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// Checks one input. Each target defines this function. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size);

namespace Fuzz {

class Violation : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

// Throws Violation unless the property holds. `what` states the property as a sentence.
inline void Require(bool holds, char const* what) {
    if (!holds)
        throw Violation(what);
}

// Returns the bytes up to the first NUL.
inline std::string UpToNul(std::string_view text) {
    return std::string(text.substr(0, text.find('\0')));
}

// Returns a text without the whitespace at both ends.
inline std::string Trimmed(std::string const& text, char const* white = " \t\r\n") {
    std::size_t const first = std::min(text.find_first_not_of(white), text.size());
    return text.substr(first, text.find_last_not_of(white) + 1 - first);
}

// Takes values from the front of an input. Returns zeros and empty strings at its end. The bytes
// must outlive the object.
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

    // Takes a byte for the length, then as many bytes, or all remaining ones if there are fewer.
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

// A copy at the end of a heap block: AddressSanitizer detects reads beyond the copy or after its
// destruction. `shift` is the offset in the block, to test different alignments.
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

// Takes the lengths of the chunks into which an input is split (tests/support/Chunks.h): a byte for
// their number, up to seven, then a byte for each.
inline std::vector<std::size_t> TakeLengths(Input& input) {
    std::vector<std::size_t> lengths(input.Byte() % 8U);
    for (std::size_t& length : lengths)
        length = input.Byte();
    return lengths;
}

} // namespace Fuzz

using Fuzz::Require;
