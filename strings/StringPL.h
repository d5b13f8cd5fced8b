// The general-purpose string: owning, growing, NUL-terminated bytes of any encoding.
//
// An object is a pointer to its characters. Length and capacity are in a header in front of them.
// Copies are deep. Not thread-safe.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <exception>

// An invalid index or count, or a string that would be too long.
//
// Deliberate: not derived from DebuggableException, because what() returns the plain name of the
// class and not the encoded one.
class StringPLOutOfBoundsException : public std::exception {
public:
    char const* what() const noexcept override;
};

// Capacity is in bytes and includes the terminating NUL. Construction, assignment and Replace
// allocate the exact capacity of the text. operator+= and Append double the capacity as often as
// needed, and keep it if it is sufficient. All strings of capacity 1 share one static block, so
// making an empty string does not allocate.
//
// Pointers to the characters are valid until the string changes or is destroyed. Arguments are
// NUL-terminated strings, except those with a count; only constructors and assignments accept null.
// An argument may be a part of this string, unless stated otherwise.
//
// Lengths and indexes are returned as `int`: from 2^31 on they are negative.
//
// Error handling: StringPLOutOfBoundsException if an index or a count is invalid, as specified
// below, or if the capacity would exceed 4,294,967,287 bytes. Allocations throw std::bad_alloc. A
// string keeps its value if an operation throws, except Format and ReplaceNoCase.
class StringPL {
public:
    // A null pointer makes the empty string.
    StringPL() noexcept : characters(EmptyText()) {}
    StringPL(char const* text)
        : characters(text == nullptr ? EmptyText() : NewText(text, std::strlen(text))) {}

    // Copies up to `count` bytes, or up to the first NUL. The length is `count` in both cases; the
    // missing bytes are NULs.
    //
    // A null pointer makes the empty string, whatever `count` is.
    StringPL(char const* text, unsigned int count)
        : characters(text == nullptr ? EmptyText() : NewText(text, count)) {}

    // Copies the length, and the characters up to their first NUL; the rest are NULs.
    StringPL(StringPL const& source) : characters(NewText(source.characters, source.Length())) {}

    // Takes the block with its capacity and leaves the source empty, so a growing vector does not
    // copy its strings.
    //
    // Deliberate: there is no move assignment, because assignment makes the capacity exact.
    StringPL(StringPL&& source) noexcept : characters(source.characters) {
        source.characters = EmptyText();
    }

    ~StringPL() {
        if (!IsShared())
            FreeBlock();
    }

    // The old text is freed after the new one is allocated. A null pointer counts as empty.
    // Self-assignment changes nothing.
    //
    // Deliberate: an assigned string ends at the first NUL of its source, unlike a copy, because
    // both overloads assign a NUL-terminated string.
    StringPL& operator=(char const* text);
    StringPL& operator=(StringPL const& source);

    // Return the characters, with a NUL at the end. Never null.
    char const* AsChar() const { return characters; }
    operator char const*() const { return characters; }

    // In bytes, without the terminating NUL. Takes constant time.
    int GetLength() const { return static_cast<int>(Length()); }
    bool IsEmpty() const { return Length() == 0; }

    // Returns the capacity.
    unsigned int GetBufferLength() const { return GetHeader().capacity; }

    // Overwrites the stored length and nothing else.
    // REQUIRES: `length` is less than the capacity, and a NUL is at `length`.
    void SetStringLength(unsigned int length);

    // Removes the text and keeps the capacity.
    void MakeEmpty();

    // Returns the byte at `index`, which is invalid if it is negative or not less than the length.
    char GetAt(int index) const;

    // Appends `text`.
    StringPL& operator+=(char const* text);

    // Appends up to `count` bytes, or up to the first NUL.
    //
    // The length grows by `count` in both cases; the missing bytes are NULs.
    void Append(char const* text, unsigned int count);

    // Returns a copy with `text` appended.
    StringPL operator+(char const* text) const;

    // Replaces the text by the output of printf. The capacity becomes at least 64, and doubles
    // until it exceeds the output and its NUL by at least one byte.
    //
    // If Format throws, the string is empty. If a conversion fails (a wide character that the
    // locale cannot encode), the capacity doubles until it reaches its limit. Then Format throws
    // StringPLOutOfBoundsException, or std::bad_alloc if memory runs out before.
    //
    // REQUIRES: no argument points into this string.
    [[gnu::format(printf, 2, 3)]] void Format(char const* format, ...);

    // Map each byte by tolower and toupper, in the current locale.
    void MakeLower();
    void MakeUpper();

    // Replaces all matches of `search`. Matches do not overlap, and replacements are not searched.
    // The capacity becomes exact, and pointers to the characters become invalid, even without a
    // match. Does nothing if `search` is empty.
    void Replace(char const* search, char const* replacement);

    // The same, case-insensitive in the current locale.
    //
    // Deliberate: each match reassigns the whole string, so that the string keeps the replacements
    // made so far if ReplaceNoCase throws. The time is therefore proportional to the length
    // multiplied by the number of matches. Each replacement also truncates the string at its
    // first embedded NUL. Without a match the string keeps its text and its block.
    void ReplaceNoCase(char const* search, char const* replacement);

    // Return the index of the first match at or after `start`, or -1. An empty pattern matches at
    // `start`, if that is not beyond the end. A negative `start` is invalid. FindNoCase is
    // case-insensitive in the current locale.
    int Find(char const* pattern, int start) const;
    int FindNoCase(char const* pattern, int start) const;
    int Find(char byte, int start) const;

    // Returns the index of the last match with at least `fromEnd` bytes after it, or -1. A
    // negative `fromEnd` is invalid.
    int ReverseFind(char byte, int fromEnd) const;

    bool Contains(char const* pattern) const { return Find(pattern, 0) != -1; }
    bool Contains(char byte) const { return Find(byte, 0) != -1; }
    bool ContainsNoCase(char const* pattern) const { return FindNoCase(pattern, 0) != -1; }

    // Return at most `count` bytes from `start` on. A negative `start` or `count` is invalid, and
    // so is a `start` beyond the end. In every substring, the bytes after an embedded NUL become
    // NULs.
    StringPL Mid(int start, int count) const;
    StringPL Mid(int start) const;

    // Return at most `count` bytes of the start or the end. A negative `count` is invalid.
    StringPL Left(int count) const;
    StringPL Right(int count) const;

    // Compare up to the first NUL: by strcmp, and by strcasecmp in the current locale.
    int Compare(char const* text) const { return std::strcmp(characters, text); }
    int CompareNoCase(char const* text) const;
    bool Equals(char const* text) const { return Compare(text) == 0; }
    bool EqualsIgnoringCase(char const* text) const { return CompareNoCase(text) == 0; }

private:
    // Stored in front of the characters.
    struct Header {
        std::uint32_t capacity;
        std::uint32_t length;
    };

    // The block of all strings of capacity 1. Never written, so threads can share it.
    struct EmptyBlock {
        Header header;
        char nul;
    };
    static EmptyBlock sharedEmpty;

    static char* EmptyText() { return reinterpret_cast<char*>(&sharedEmpty) + sizeof(Header); }

    // Return the characters of a new block, or of the shared one. NewBlock sets the length to 0 and
    // writes no characters. NewText copies up to `count` bytes, or up to the first NUL, and adds
    // NULs.
    static char* NewBlock(std::uint64_t capacity);
    static char* NewText(char const* text, std::uint64_t count);

    static Header& HeaderOf(char* block) { return reinterpret_cast<Header*>(block)[-1]; }
    void FreeBlock() { delete[](characters - sizeof(Header)); } // GCOVR_EXCL_BR_LINE: never null
    void TakeBlock(char* block);

    bool IsShared() const { return characters == EmptyText(); }
    Header& GetHeader() const { return HeaderOf(characters); }
    std::uint32_t Length() const { return GetHeader().length; }
    bool HasRoomFor(std::uint64_t added) const {
        return Length() + added + 1 <= GetHeader().capacity;
    }

    // Append the run, and NULs up to `count` bytes.
    void AppendRun(char const* run, std::size_t runLength, std::size_t count);
    void AppendGrowing(char const* run, std::size_t runLength, std::size_t count);

    // REQUIRES: HasRoomFor(1).
    void AppendByte(char byte);
    // By value, so that the byte stays in a register.
    void AppendByteGrowing(char byte);

    char* characters;
};

// Inline, and without library calls for a single byte, because appending single bytes is common.

inline void StringPL::AppendByte(char byte) {
    Header& header = GetHeader();
    char* const end = characters + header.length;
    ++header.length;
    // One store for the byte and the NUL, because stores limit the speed of repeated appends.
    static_assert(std::endian::native == std::endian::little);
    std::uint16_t const text = static_cast<unsigned char>(byte);
    std::memcpy(end, &text, sizeof(text));
}

inline void StringPL::MakeEmpty() {
    if (Length() != 0)
        GetHeader().length = 0;
    if (!IsShared())
        characters[0] = '\0';
}

inline StringPL& StringPL::operator+=(char const* text) {
    if (text[0] != '\0' && text[1] == '\0' && HasRoomFor(1)) {
        AppendByte(text[0]);
    } else {
        std::size_t const length = std::strlen(text);
        AppendRun(text, length, length);
    }
    return *this;
}

inline void StringPL::Append(char const* text, unsigned int count) {
    if (count != 1)
        AppendRun(text, strnlen(text, count), count);
    else if (HasRoomFor(1))
        AppendByte(text[0]);
    else
        AppendByteGrowing(text[0]);
}

// All relational operators use Compare.

inline bool operator==(StringPL const& left, StringPL const& right) {
    return left.Compare(right) == 0;
}
inline bool operator!=(StringPL const& left, StringPL const& right) {
    return left.Compare(right) != 0;
}
inline bool operator<(StringPL const& left, StringPL const& right) {
    return left.Compare(right) < 0;
}
inline bool operator<=(StringPL const& left, StringPL const& right) {
    return left.Compare(right) <= 0;
}
inline bool operator>(StringPL const& left, StringPL const& right) {
    return left.Compare(right) > 0;
}
inline bool operator>=(StringPL const& left, StringPL const& right) {
    return left.Compare(right) >= 0;
}

inline bool operator==(StringPL const& left, char const* right) { return left.Compare(right) == 0; }
inline bool operator!=(StringPL const& left, char const* right) { return left.Compare(right) != 0; }
inline bool operator<(StringPL const& left, char const* right) { return left.Compare(right) < 0; }
inline bool operator<=(StringPL const& left, char const* right) { return left.Compare(right) <= 0; }
inline bool operator>(StringPL const& left, char const* right) { return left.Compare(right) > 0; }
inline bool operator>=(StringPL const& left, char const* right) { return left.Compare(right) >= 0; }

inline bool operator==(char const* left, StringPL const& right) { return right.Compare(left) == 0; }
inline bool operator!=(char const* left, StringPL const& right) { return right.Compare(left) != 0; }
inline bool operator<(char const* left, StringPL const& right) { return right.Compare(left) > 0; }
inline bool operator<=(char const* left, StringPL const& right) { return right.Compare(left) >= 0; }
inline bool operator>(char const* left, StringPL const& right) { return right.Compare(left) < 0; }
inline bool operator>=(char const* left, StringPL const& right) { return right.Compare(left) <= 0; }
