// Views of contiguous elements, an array being filled, and an interval of numbers.
//
// A view is a half-open pair of pointers: `begin` points to the first element, `end` one past the
// last. Both are null in a default view. Views own nothing and are passed by value: the caller
// keeps the elements alive while the view is used.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>

template <class T>
class ConstArrayOf {
public:
    constexpr ConstArrayOf() = default;
    constexpr ConstArrayOf(T const* first, T const* last) noexcept : begin(first), end(last) {}

    // A template, so that a literal 0 is a length and not a null pointer.
    template <std::integral Count>
    constexpr ConstArrayOf(T const* first, Count length) noexcept
        : begin(first), end(first + length) {}

    template <std::size_t length>
    constexpr ConstArrayOf(T const (&array)[length]) noexcept : begin(array), end(array + length) {}

    constexpr std::size_t Length() const { return static_cast<std::size_t>(end - begin); }
    constexpr bool IsEmpty() const { return begin == end; }

    // REQUIRES: `index` is less than Length().
    constexpr T const& operator[](std::size_t index) const { return begin[index]; }

    T const* begin = nullptr;
    T const* end = nullptr;
};

template <class T>
class ArrayOf {
public:
    constexpr ArrayOf() = default;
    constexpr ArrayOf(T* first, T* last) noexcept : begin(first), end(last) {}

    template <std::integral Count>
    constexpr ArrayOf(T* first, Count length) noexcept : begin(first), end(first + length) {}

    template <std::size_t length>
    constexpr ArrayOf(T (&array)[length]) noexcept : begin(array), end(array + length) {}

    constexpr operator ConstArrayOf<T>() const { return ConstArrayOf<T>(begin, end); }

    constexpr std::size_t Length() const { return static_cast<std::size_t>(end - begin); }
    constexpr bool IsEmpty() const { return begin == end; }

    // REQUIRES: `index` is less than Length().
    constexpr T& operator[](std::size_t index) const { return begin[index]; }

    T* begin = nullptr;
    T* end = nullptr;
};

// An array being filled: the first `count` elements are written. The elements are not owned.
template <class T>
class BufferOf {
public:
    explicit constexpr BufferOf(ArrayOf<T> array) : begin(array.begin), end(array.end) {}

    T* begin;
    T* end;
    std::uint32_t count = 0;
};

// A half-open interval: `begin` is included, `end` is not. Range<unsigned long long> holds stream
// positions and file offsets.
template <class T>
struct Range {
    T begin{};
    T end{};

    friend constexpr bool operator==(Range const&, Range const&) = default;
};
