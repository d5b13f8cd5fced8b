// Compares case-insensitive comparison, search and case mapping, and each kernel of the comparison,
// with byte-wise reference implementations.
#pragma once

#include "data/Ascii.h"
#include "data/Buffer.h"
#include "fuzz/Fuzz.h"
#include "fuzz/ReferenceCase.h"
#include "simd/AsciiCase.h"
#include "simd/Cpu.h"
#include "strings/LocaleCase.h"

namespace CaseProperties {

using ReferenceCase::Lower;
using ReferenceCase::Lowered;
using ReferenceCase::Raised;
using ReferenceCase::Upper;

inline std::size_t CommonLength(std::string_view left, std::string_view right) {
    std::size_t at = 0;
    while (at < left.size() && at < right.size() && Lower(left[at]) == Lower(right[at]))
        ++at;
    return at;
}

// Reference of Ascii::CompareLowercase for NUL-terminated strings: where one string ends, the bytes
// are compared unmapped, as signed values.
inline std::int32_t CompareTexts(std::string const& left, std::string const& right) {
    std::size_t const at = CommonLength(left, right);
    if (at < left.size() && at < right.size())
        return Lower(left[at]) - Lower(right[at]);
    return static_cast<signed char>(left.c_str()[at]) - static_cast<signed char>(right.c_str()[at]);
}

inline void CompareRuns(Fuzz::ExactCopy const& left, Fuzz::ExactCopy const& right) {
    auto const* const one = reinterpret_cast<unsigned char const*>(left.Begin());
    auto const* const other = reinterpret_cast<unsigned char const*>(right.Begin());
    std::size_t const length = std::min(left.Length(), right.Length());
    std::size_t const expected =
        CommonLength({left.Begin(), left.Length()}, {right.Begin(), right.Length()});
    auto const agrees = [&](auto function) {
        return function(one, other, length) == expected;
    };
    Require(agrees(Simd::CommonPrefix), "the dispatched kernel finds the first difference");
    Require(agrees(Simd::CommonPrefixScalar), "the scalar reference finds the first difference");
#if SIMD_X86
    Require(agrees(Simd::CommonPrefixSse2), "the SSE2 kernel finds the first difference");
    Require(!Simd::Uses(Simd::Level::avx2) || agrees(Simd::CommonPrefixAvx2),
            "the AVX2 kernel finds the first difference");
#endif
}

inline void CompareOrders(std::string const& left, std::string const& right) {
    Require(Ascii::CompareLowercase(ConstData(left), ConstData(right)) ==
                ReferenceCase::Compare(left, right, Lower),
            "CompareLowercase orders by the bytes in lower case");
    Require(Ascii::CompareUppercase(ConstData(left), ConstData(right)) ==
                ReferenceCase::Compare(left, right, Upper),
            "CompareUppercase orders by the bytes in upper case");
    Require(Ascii::EqualIgnoringCase(ConstData(left), ConstData(right)) ==
                (Lowered(left) == Lowered(right)),
            "texts are equal if they are equal in lower case");
    std::string const leftText = left.c_str();
    std::string const rightText = right.c_str();
    Fuzz::ExactCopy const leftCopy(std::string_view(leftText.c_str(), leftText.size() + 1));
    Fuzz::ExactCopy const rightCopy(std::string_view(rightText.c_str(), rightText.size() + 1));
    Require(Ascii::CompareLowercase(leftCopy.Begin(), rightCopy.Begin()) ==
                CompareTexts(leftText, rightText),
            "NUL-terminated strings are ordered by their bytes in lower case");
}

// Maps in one buffer, to `distance` bytes after the source, so source and target may overlap.
template <class Map>
void CompareMapping(std::string_view text, void mapText(ConstData, Data), std::size_t distance,
                    Map map) {
    std::string expected(text);
    std::string ours(text);
    distance = std::min(distance, text.size());
    std::size_t const length = text.size() - distance;
    mapText(ConstData(ours.data(), length), Data(ours.data() + distance, length));
    for (std::size_t i = 0; i < length; ++i)
        expected[distance + i] = static_cast<char>(map(expected[i]));
    Require(ours == expected, "overlapping text is mapped as if byte by byte");
}

inline void CompareCases(std::string const& text, std::size_t distance) {
    std::string const lower = Lowered(text);
    std::string const upper = Raised(text);
    Require(Ascii::LowerCase(ConstData(text)) == lower, "LowerCase maps each byte");
    Require(Ascii::RaiseCase(ConstData(text)) == upper, "RaiseCase maps each byte");
    Require(Ascii::IsLowercase(ConstData(text)) == (text == lower),
            "IsLowercase is true if mapping changes nothing");
    Require(Ascii::IsUppercase(ConstData(text)) == (text == upper),
            "IsUppercase is true if mapping changes nothing");
    CompareMapping(text, Ascii::LowerCase, distance, Lower);
    CompareMapping(text, Ascii::RaiseCase, distance, Upper);
}

inline void CompareSearch(Fuzz::ExactCopy const& text, std::string const& pattern) {
    std::string const lower = Lowered(std::string(text.Begin(), text.Length()));
    std::size_t const at = lower.find(Lowered(pattern));
    char const* const expected = at == std::string::npos ? nullptr : text.Begin() + at;
    Require(FindCaseInsensitive(text.Begin(), text.Length(), pattern.data(), pattern.size()) ==
                expected,
            "FindCaseInsensitive agrees with find in lower case");
}

// Flips bits of the text. The changes are pairs of bytes: a distance from the previous change, and
// the bits to flip.
inline std::string Changed(std::string text, std::string const& changes) {
    std::size_t at = 0;
    for (std::size_t i = 0; i + 1 < changes.size(); i += 2) {
        at += static_cast<unsigned char>(changes[i]);
        if (at < text.size())
            text[at] = static_cast<char>(text[at] ^ changes[i + 1]);
    }
    return text;
}

// Input: the alignments of the two texts, the number of bytes to remove from one of them, its
// changes, a pattern, and the text.
inline void Check(Fuzz::Input input) {
    std::size_t const shifts = input.Byte();
    std::size_t const cut = input.Byte();
    std::string const changes = input.Text();
    std::string const pattern = input.Text().c_str();
    std::string const left(input.Rest());
    std::string right = Changed(left, changes);
    right.resize(right.size() - std::min(right.size(), cut % 64));

    Fuzz::ExactCopy const leftCopy(left, shifts % 16);
    CompareRuns(leftCopy, Fuzz::ExactCopy(right, shifts / 16));
    CompareOrders(left, right);
    CompareOrders(right, left);
    CompareCases(left, cut);
    CompareSearch(leftCopy, pattern);
}

} // namespace CaseProperties
