// The small string: a value with room for 127 characters inside the object.
//
// Text of a size (with its terminating NUL) of up to 128 bytes never touches the heap; longer text
// lies in an array of exactly its size, so each append beyond that allocates anew. Meant to live on
// the stack and for short work; StringPL is the string for long text. One thread.
#pragma once

#include <cstdint>
#include <vector>

#include "data/ConstData.h"
#include "data/DebuggableException.h"

// A count to which 1, for the NUL, cannot be added in 32 bits.
class StringyLengthTooLong : public DebuggableException {};

// A short text by value.
//
// There are two empty strings: null (made without text) and the empty text (made from ""). They are
// equal, but not where case is ignored. Bytes are kept as they come, inner NULs too; searches for
// text and comparisons end at the first one.
//
// A pointer to characters holds until the string is changed or moved in memory. Texts passed in may
// be parts of this string.
//
// Error handling: StringyLengthTooLong from the constructors with a count, std::bad_alloc where an
// array is needed. Nothing else fails: parts are clamped, searches give -1, and of a text of more
// than 4,294,967,294 bytes the rest is left out. A string keeps its value where an append or an
// assignment of a `char const*` throws.
class Stringy {
public:
    // The size, with the NUL, of the longest text that lies in the object.
    static constexpr unsigned int smallSize = 128;

    // Null, from a null pointer or from no bytes; the text of the pointer otherwise.
    Stringy() noexcept {}
    Stringy(char const* text);
    Stringy(char const* bytes, unsigned int count);
    Stringy(unsigned char const* bytes, unsigned int count);
    Stringy(ConstData const& bytes);

    // The decimal digits, with '-' in front of a negative value.
    explicit Stringy(int value);
    explicit Stringy(unsigned int value);
    explicit Stringy(unsigned long long value);

    Stringy(Stringy const& source);
    ~Stringy() {
        if (IsOnHeap())
            FreeHeap();
    }

    // Deliberate: the old array goes before the new one is allocated, and if that fails, the string
    // is null. An empty source of either kind gives null.
    Stringy& operator=(Stringy const& source);

    // A null pointer gives null, "" an empty text. The old array goes when the copy is there.
    Stringy& operator=(char const* text);

    // Nothing happens for a NUL, a null pointer, or nothing to append.
    //
    // Deliberate: to an empty string, a text and a string append to the heap at a size of 128
    // already, one byte sooner than usual.
    Stringy& operator+=(char byte);
    Stringy& operator+=(char const* text);
    Stringy& operator+=(Stringy const& source);
    Stringy& operator+=(ConstData const& bytes);

    // Without the NUL; 0 for null.
    unsigned int GetLength() const { return sizeWithNul == 0 ? 0 : sizeWithNul - 1; }

    // Never null: an empty text takes the place of null.
    operator char const*() const { return characters == nullptr ? "" : characters; }

    // 0 for null and beyond the NUL. REQUIRES: `index` is not GetLength() + 1. Deliberate: the test
    // lets that one through, and it would read the byte behind the NUL.
    char operator[](unsigned int index) const {
        return characters == nullptr || index > sizeWithNul ? '\0' : characters[index];
    }

    // The first and the last index of the byte, or -1.
    int Find(char byte) const;
    int FindFromRight(char byte) const;

    // By strstr. Deliberate: null contains nothing but a null `text`, and is the only one to do so.
    bool Contains(char const* text) const;

    // True for a null or empty prefix. The other two by Ascii::EqualIgnoringCase.
    bool StartsWith(char const* prefix) const;
    bool StartsWithIgnoringCase(char const* prefix) const;
    bool StartsWithIgnoringCase(Stringy const& prefix) const;

    // By strcmp; an empty string of either kind is less than any text, and equal to any empty one.
    int Compare(Stringy const& other) const;

    // By Ascii::CompareUppercase and Ascii::EqualIgnoringCase, over the bytes and their NUL.
    //
    // Deliberate: here null is not the empty text. It is less than that, and equals nothing, not
    // even null, though the comparison of two nulls gives 0.
    int CompareNoCase(Stringy const& other) const;
    bool EqualIgnoringCase(Stringy const& other) const;

    // Parts. A negative start or count counts as 0, and what runs past the end is cut.
    Stringy Left(int count) const;
    Stringy Right(int count) const;
    Stringy Mid(int start, int count) const;
    Stringy Mid(int start) const;

    // What stands behind the last `separator`, without white space around it. Deliberate: if there
    // is no separator, that is nothing, and not the whole string.
    Stringy SubstringAfterLastSeparator(char separator) const;

    // Byte by byte, by tolower and toupper, so as the current locale has it.
    void MakeLower();
    void MakeUpper();

    // Yields how many there were.
    unsigned int Replace(char byte, char replacement);

    // White space is that of Ascii::WhiteSpace(). A string of nothing else becomes null; so does an
    // empty text in the second one, where the white space ends at an inner NUL too.
    //
    // Deliberate: what is left is assigned, so if memory runs out, the string is as it was or null.
    void TrimLeft();
    void StripLeadingAndTrailingWhite();

    // Appends the items of `text` between separators to `items`, at most `maximum` of them, and
    // yields their number. Empty items count: there is one behind a separator at the end. What
    // stands behind the last item is dropped. A null or an empty text has no items.
    //
    // Deliberate: with a separator of NUL, each NUL ends an item and only `maximum` ends the walk.
    // REQUIRES in that case: `text` goes on for so many items.
    // REQUIRES with `strip`, which takes white space off each item: `items` is empty, since they
    // are counted from its beginning.
    static unsigned int SplitSeparatedStringsIntoArray(char const* text, char separator,
                                                       std::vector<Stringy>& items,
                                                       unsigned int maximum, bool strip);

private:
    bool IsOnHeap() const { return characters != nullptr && characters != smallBuffer; }
    bool IsEmpty() const { return sizeWithNul < 2; }
    void FreeHeap() { delete[] characters; }

    // Frees what is there.
    void MakeNull();

    // REQUIRES: the string is null.
    void Build(char const* bytes, std::uint32_t count);

    // Text of a size of up to `limit` goes into the object.
    void AppendBytes(char const* bytes, std::size_t count, unsigned int limit);

    // The bytes and the NUL behind them. REQUIRES: the string is not null.
    ConstData BytesWithNul() const { return ConstData(characters, sizeWithNul); }

    char* characters = nullptr;
    std::uint32_t sizeWithNul = 0;
    char smallBuffer[smallSize];
};

// A copy of the left side with the right one appended.
Stringy operator+(Stringy const& left, char right);
Stringy operator+(Stringy const& left, Stringy const& right);

// All relations rest on Compare; a `char const*` is made a Stringy first.

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
    return left.Compare(Stringy(right)) == 0;
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
