// The encodings of text, as types: UTF-8 cannot be passed where the bytes of the locale belong.
//
// A tag is empty. It stands in the types of texts and of their receivers, and a value of it is
// passed only to pick an overload. UTF-16 and UTF-32 are in the byte order of the host; a
// byte-order mark is a character like any other.
#pragma once

#include <concepts>

struct UTF8 {
    using Unit = unsigned char;
};

struct UTF16 {
    using Unit = unsigned short;
};

// Also what the wide characters of the platform hold.
struct UTF32 {
    using Unit = unsigned int;
};

// The multibyte encoding of the process's locale, whichever that is.
struct Local8Bit {
    using Unit = char;
};

template <class E>
concept TextEncoding = std::same_as<E, UTF8> || std::same_as<E, UTF16> || std::same_as<E, UTF32> ||
    std::same_as<E, Local8Bit>;

template <class E>
concept UnicodeEncoding = TextEncoding<E> && !std::same_as<E, Local8Bit>;

// The encodings whose units are bytes, and those in which C interfaces take their texts.
template <class E>
concept ByteEncoding = std::same_as<E, UTF8> || std::same_as<E, Local8Bit>;
template <class E>
concept CEncoding = std::same_as<E, Local8Bit> || std::same_as<E, UTF32>;

// A view and an owner of text, for headers that only name them: see UStringRef.h, AutoUString.h.
template <TextEncoding E>
class UStringRef;
template <TextEncoding E>
class AutoUString;
