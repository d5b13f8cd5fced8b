// Text encodings as types, so that UTF-8 cannot be passed as text of the locale.
//
// A tag is an empty class: a template argument of text types, and a function argument that selects
// an overload. UTF-16 and UTF-32 are in the byte order of the host. A byte-order mark is an
// ordinary code point.
#pragma once

#include <concepts>

struct UTF8 {
    using Unit = unsigned char;
};

struct UTF16 {
    using Unit = unsigned short;
};

// Also the encoding of wchar_t on this platform.
struct UTF32 {
    using Unit = unsigned int;
};

// The multibyte encoding of the current locale.
struct Local8Bit {
    using Unit = char;
};

template <class E>
concept TextEncoding = std::same_as<E, UTF8> || std::same_as<E, UTF16> || std::same_as<E, UTF32> ||
    std::same_as<E, Local8Bit>;

template <class E>
concept UnicodeEncoding = TextEncoding<E> && !std::same_as<E, Local8Bit>;

// The encodings whose code units are bytes, and those of C interfaces.
template <class E>
concept ByteEncoding = std::same_as<E, UTF8> || std::same_as<E, Local8Bit>;
template <class E>
concept CEncoding = std::same_as<E, Local8Bit> || std::same_as<E, UTF32>;

// Declared here for headers that only name them. Defined in UStringRef.h and AutoUString.h.
template <TextEncoding E>
class UStringRef;
template <TextEncoding E>
class AutoUString;
