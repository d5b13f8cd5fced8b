// A writable range of bytes. It owns nothing and is passed by value.
#pragma once

#include <concepts>
#include <cstddef>

#include "data/ArrayOf.h"
#include "data/ConstData.h"

class Data : public ArrayOf<unsigned char> {
public:
    using ArrayOf<unsigned char>::ArrayOf;

    // The pointers to `char` are here for the texts of the language. An array is taken whole, with
    // the NUL of a text in it.
    Data(char* first, char* last) : ArrayOf(Bytes(first), Bytes(last)) {}
    template <std::integral Count>
    Data(char* first, Count length) : ArrayOf(Bytes(first), length) {}
    template <std::size_t length>
    Data(char (&array)[length]) : ArrayOf(Bytes(array), length) {}

    constexpr operator ConstData() const { return ConstData(begin, end); }

private:
    static unsigned char* Bytes(char* text) { return reinterpret_cast<unsigned char*>(text); }
};
