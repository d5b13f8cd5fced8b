// Text conversion by iconv(3), as a reference.
#pragma once

#include <iconv.h>

#include "fuzz/Fuzz.h"

class Iconv {
public:
    Iconv(char const* target, char const* source) : converter(iconv_open(target, source)) {
        Require(converter != reinterpret_cast<iconv_t>(-1), "iconv supports the encodings");
    }
    // The name of a Unicode encoding.
    template <class E>
    static char const* Name() {
        constexpr std::size_t size = sizeof(typename E::Unit);
        return size == 1 ? "UTF-8" : size == 2 ? "UTF-16LE" : "UTF-32LE";
    }
    ~Iconv() { iconv_close(converter); }
    Iconv(Iconv const&) = delete;
    Iconv& operator=(Iconv const&) = delete;

    // Stores the converted text in `result`. Returns false if iconv rejects the text or a
    // conversion is not reversible; `result` is then unspecified.
    template <class From, class To>
    bool Convert(std::vector<From> text, std::vector<To>& result) const {
        iconv(converter, nullptr, nullptr, nullptr, nullptr);
        // Sufficient: a code unit becomes at most six bytes or one wide character.
        result.resize(text.size() * 8 + 8);
        char* from = reinterpret_cast<char*>(text.data());
        std::size_t fromLeft = text.size() * sizeof(From);
        char* to = reinterpret_cast<char*>(result.data());
        std::size_t const room = result.size() * sizeof(To);
        std::size_t toLeft = room;
        if (fromLeft != 0 && iconv(converter, &from, &fromLeft, &to, &toLeft) != 0)
            return false;
        result.resize((room - toLeft) / sizeof(To));
        return true;
    }

private:
    iconv_t const converter;
};
