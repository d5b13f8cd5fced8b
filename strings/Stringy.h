// A string with room for 127 characters inside the object.
//
// Longer text is on the heap, in an array of its exact size, so each append allocates. Meant for
// short-lived strings on the stack; StringPL is for long text. Not thread-safe.
#pragma once

#include <cstdint>
#include <vector>

#include "data/ConstData.h"
#include "data/DebuggableException.h"

// A count that does not fit 32 bits together with the NUL.
class StringyLengthTooLong : public DebuggableException {};

// There are two empty strings: the null string (made without text) and the empty string (made from
// ""). They are equal, except in case-insensitive comparisons. Embedded NULs are kept, but
// case-sensitive comparisons and Contains end at the first NUL.
//
// Pointers to the characters are valid until the string changes or is destroyed. An argument may be
// a part of this string.
//
// Error handling: constructors with a count of 4,294,967,295 throw StringyLengthTooLong;
// allocations throw std::bad_alloc. Nothing else fails: ranges are clamped, searches return -1, and
// text longer than 4,294,967,294 bytes is truncated. A string keeps its value if an append or an
// assignment of a `char const*` throws.
class Stringy {
public:
    // The maximum size of text inside the object, including the NUL.
    static constexpr unsigned int smallSize = 128;

    // A null `text`, a count of 0 and an empty range make the null string. REQUIRES: `bytes` points
    // to `count` bytes.
    Stringy() noexcept {}
    Stringy(char const* text);
    Stringy(char const* bytes, unsigned int count);
    Stringy(unsigned char const* bytes, unsigned int count);
    Stringy(ConstData const& bytes);

    // The decimal digits, with '-' for a negative value.
    explicit Stringy(int value);
    explicit Stringy(unsigned int value);
    explicit Stringy(unsigned long long value);

    Stringy(Stringy const& source);
    ~Stringy() {
        if (IsOnHeap())
            FreeHeap();
    }

    // Deliberate: an empty source makes the null string, like an empty substring. The old array is
    // freed before the new one is allocated, so that there are never two. The string is null if the
    // allocation throws. Self-assignment changes nothing.
    Stringy& operator=(Stringy const& source);

    // A null pointer makes the null string. The old array is freed after the new one is allocated.
    Stringy& operator=(char const* text);

    // Append the argument. Do nothing for a NUL byte, a null pointer and empty text.
    //
    // Deliberate: appending 127 characters to an empty string allocates, if they are a `char
    // const*` or a Stringy. Kept for compatibility.
    Stringy& operator+=(char byte);
    Stringy& operator+=(char const* text);
    Stringy& operator+=(Stringy const& source);
    Stringy& operator+=(ConstData const& bytes);

    // In bytes, without the NUL; 0 for the null string.
    unsigned int GetLength() const { return sizeWithNul == 0 ? 0 : sizeWithNul - 1; }

    // Returns the NUL-terminated text; "" for the null string.
    operator char const*() const { return characters == nullptr ? "" : characters; }

    // Returns the byte at `index`; NUL for the null string and for an index beyond the NUL.
    //
    // Deliberate: does not check for GetLength() + 1, which reads the byte after the NUL. Kept for
    // compatibility.
    // REQUIRES: `index` is not GetLength() + 1.
    char operator[](unsigned int index) const {
        return characters == nullptr || index > sizeWithNul ? '\0' : characters[index];
    }

    // Return the index of the first and of the last match, or -1. An index of 2^31 or more is
    // returned as a negative number.
    int Find(char byte) const;
    int FindFromRight(char byte) const;

    // True if strstr finds `text`. The null string contains a null `text` and nothing else, not
    // even empty text. No other string contains a null `text`.
    bool Contains(char const* text) const;

    // True for a null or empty prefix. StartsWithIgnoringCase is case-insensitive for ASCII
    // letters.
    bool StartsWith(char const* prefix) const;
    bool StartsWithIgnoringCase(char const* prefix) const;
    bool StartsWithIgnoringCase(Stringy const& prefix) const;

    // Returns a value less than, equal to or greater than 0, like strcmp. The null string equals
    // the empty string; both are less than every other string, even one that begins with a NUL.
    int Compare(Stringy const& other) const;

    // Case-insensitive, by Ascii::CompareUppercase and Ascii::EqualIgnoringCase over all bytes and
    // the NUL.
    //
    // Deliberate: the null string is less than the empty string. CompareNoCase of two null strings
    // returns 0, but EqualIgnoringCase returns false. Kept for compatibility.
    int CompareNoCase(Stringy const& other) const;
    bool EqualIgnoringCase(Stringy const& other) const;

    // Return substrings. A negative start or count counts as 0; a range is clamped to the end. An
    // empty substring is the null string.
    Stringy Left(int count) const;
    Stringy Right(int count) const;
    Stringy Mid(int start, int count) const;
    Stringy Mid(int start) const;

    // Returns the text after the last `separator`, without leading and trailing whitespace.
    //
    // Without a separator, returns the null string, not the whole string.
    Stringy SubstringAfterLastSeparator(char separator) const;

    // Map each byte by tolower and toupper, in the current locale.
    void MakeLower();
    void MakeUpper();

    // Replaces each `byte`, and returns the number of bytes replaced.
    unsigned int Replace(char byte, char replacement);

    // Remove the bytes of Ascii::WhiteSpace() from the start, or from both ends. A string of
    // whitespace alone becomes the null string. StripLeadingAndTrailingWhite makes two other
    // strings null, too: the empty string, and a string whose first byte after the leading
    // whitespace is an embedded NUL.
    //
    // If an allocation fails, the string is unchanged or null.
    void TrimLeft();
    void StripLeadingAndTrailingWhite();

    // Appends the parts of `text` between separators to `items`, and returns their number. Parts
    // after the first `maxItems` are dropped. Parts may be empty, even after a separator at the
    // end. A null or empty `text` has no parts. With `strip`, each part loses its leading and
    // trailing whitespace.
    //
    // Deliberate: if the separator is NUL, each NUL ends a part, and only `maxItems` ends the loop.
    // A separator cannot be distinguished from the end of `text`.
    // REQUIRES: if the separator is NUL, `text` has `maxItems` parts.
    // REQUIRES: with `strip`, `items` is empty.
    static unsigned int SplitSeparatedStringsIntoArray(char const* text, char separator,
                                                       std::vector<Stringy>& items,
                                                       unsigned int maxItems, bool strip);

private:
    bool IsOnHeap() const { return characters != nullptr && characters != smallBuffer; }
    bool IsEmpty() const { return sizeWithNul < 2; }
    void FreeHeap() { delete[] characters; } // GCOVR_EXCL_BR_LINE: never null

    // Frees the array and makes the string null.
    void MakeNull();

    // REQUIRES: the string is null.
    void Build(char const* bytes, std::uint32_t count);

    // Returns the array for a text of this length: the one inside the object if `length` is less
    // than `limit`, otherwise a new one.
    char* ArrayFor(std::uint32_t length, unsigned int limit) {
        return length < limit ? smallBuffer : new char[std::size_t{length} + 1];
    }
    void AppendBytes(char const* bytes, std::size_t count, unsigned int limit);

    // The bytes with their NUL. REQUIRES: the string is not null.
    ConstData BytesWithNul() const { return ConstData(characters, sizeWithNul); }

    char* characters = nullptr;
    std::uint32_t sizeWithNul = 0;
    char smallBuffer[smallSize];
};

// Return a copy of `left` with `right` appended.
Stringy operator+(Stringy const& left, char right);
Stringy operator+(Stringy const& left, Stringy const& right);

// All relational operators use Compare; a `char const*` is converted to a Stringy.

inline bool operator==(Stringy const& left, Stringy const& right) {
    return left.Compare(right) == 0;
}
inline bool operator!=(Stringy const& left, Stringy const& right) {
    return left.Compare(right) != 0;
}
inline bool operator<(Stringy const& left, Stringy const& right) { return left.Compare(right) < 0; }
inline bool operator<=(Stringy const& left, Stringy const& right) {
    return left.Compare(right) <= 0;
}
inline bool operator>(Stringy const& left, Stringy const& right) { return left.Compare(right) > 0; }
inline bool operator>=(Stringy const& left, Stringy const& right) {
    return left.Compare(right) >= 0;
}

inline bool operator==(Stringy const& left, char const* right) {
    return left.Compare(Stringy(right)) == 0; // GCOVR_EXCL_BR_LINE: the calls may throw
}
inline bool operator!=(Stringy const& left, char const* right) {
    return left.Compare(Stringy(right)) != 0;
}
inline bool operator<(Stringy const& left, char const* right) {
    return left.Compare(Stringy(right)) < 0;
}
inline bool operator<=(Stringy const& left, char const* right) {
    return left.Compare(Stringy(right)) <= 0;
}
inline bool operator>(Stringy const& left, char const* right) {
    return left.Compare(Stringy(right)) > 0;
}
inline bool operator>=(Stringy const& left, char const* right) {
    return left.Compare(Stringy(right)) >= 0;
}

inline bool operator==(char const* left, Stringy const& right) {
    return Stringy(left).Compare(right) == 0;
}
inline bool operator!=(char const* left, Stringy const& right) {
    return Stringy(left).Compare(right) != 0;
}
inline bool operator<(char const* left, Stringy const& right) {
    return Stringy(left).Compare(right) < 0;
}
inline bool operator<=(char const* left, Stringy const& right) {
    return Stringy(left).Compare(right) <= 0;
}
inline bool operator>(char const* left, Stringy const& right) {
    return Stringy(left).Compare(right) > 0;
}
inline bool operator>=(char const* left, Stringy const& right) {
    return Stringy(left).Compare(right) >= 0;
}
