// The library's general text: an owning, growing, NUL-terminated string of bytes.
//
// The object is one pointer wide and points at its characters, so a value can be handed to C as it
// stands; length and capacity stand in a header in front of them. No encoding is assumed. A string
// belongs to one thread; copies are real copies.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <exception>

// A bad index, or a text too long for a string. Deliberate: it stands outside the tree of
// DebuggableException, and its what() is the plain name.
class StringPLOutOfBoundsException : public std::exception {
public:
    char const* what() const noexcept override;
};

// A growing string. It takes little room for what it holds and doubles when it is appended to.
//
// Capacity counts bytes, the terminating NUL included. Construction, assignment and Replace give
// exactly what the text needs; +=, Append and Format keep what is there and double it where it is
// too small; nothing shrinks a string in place. All strings of capacity 1 share one static block,
// so an empty string allocates nothing.
//
// A pointer to characters holds until the string is changed. Texts passed in are NUL-terminated
// and, but for the constructors and the assignment, not null; they may be parts of this string,
// unless it is told otherwise.
//
// Error handling: StringPLOutOfBoundsException for an index or a count that is called bad below,
// and wherever more than 4,294,967,287 bytes of capacity would be needed. The string keeps its
// value where an operation throws, but for Format and ReplaceNoCase.
class StringPL {
public:
    // A null pointer gives the empty string.
    StringPL() noexcept : characters(EmptyText()) {}
    StringPL(char const* text)
        : characters(text == nullptr ? EmptyText() : NewText(text, std::strlen(text))) {}

    // The first `count` bytes up to a NUL among them; behind that, NULs take the place of the rest.
    // Deliberate: the length is `count` all the same. A null pointer gives the empty string.
    StringPL(char const* text, unsigned int count)
        : characters(text == nullptr ? EmptyText() : NewText(text, count)) {}

    // The length is copied as it is, the characters up to their first NUL, with NULs behind it.
    StringPL(StringPL const& source) : characters(NewText(source.characters, source.Length())) {}

    // Takes the block over, capacity and all, and leaves the source empty. It is here so that a
    // vector which grows moves its strings and copies no text.
    //
    // Deliberate: only construction moves. Assignment copies whatever its source, so that the
    // capacity behind it is exact.
    StringPL(StringPL&& source) noexcept : characters(source.characters) {
        source.characters = EmptyText();
    }

    ~StringPL() {
        if (!IsShared())
            FreeBlock();
    }

    // The old text goes only when the new one is there. Deliberate: unlike a copy, an assigned
    // string ends at the first NUL of its source. A null pointer counts as the empty text.
    StringPL& operator=(char const* text);
    StringPL& operator=(StringPL const& source);

    // Never null.
    char const* AsChar() const { return characters; }
    operator char const*() const { return characters; }

    // Read from the header, not counted; without the NUL.
    int GetLength() const { return static_cast<int>(Length()); }
    bool IsEmpty() const { return Length() == 0; }

    // The capacity.
    unsigned int GetBufferLength() const { return GetHeader().capacity; }

    // Overwrites the stored length and nothing else: no NUL is written, no bound is tested.
    // REQUIRES: `length` is less than the capacity, and the characters end in a NUL.
    void SetStringLength(unsigned int length);

    // The capacity stays.
    void MakeEmpty();

    // A bad index is one below 0, or at or above the length: the terminating NUL is not there.
    char GetAt(int index) const;

    // Appends `text`. If the room is too small, the capacity doubles as often as it takes.
    StringPL& operator+=(char const* text);

    // Appends the first `count` bytes up to a NUL among them; behind that, NULs take the place of
    // the rest. Deliberate: the length grows by `count` all the same.
    void Append(char const* text, unsigned int count);

    // A copy with `text` appended to it.
    StringPL operator+(char const* text) const;

    // Replaces the text by what printf would print. The capacity is at least 64 then, and doubles
    // until one byte more than the output and its NUL has room.
    //
    // REQUIRES: nothing in the arguments points into this string: its old text may be gone before
    // they are read. If it throws, the string is empty; output that cannot be printed (a wide
    // character unknown to the locale) ends that way, when the capacity has doubled to its limit.
    [[gnu::format(printf, 2, 3)]] void Format(char const* format, ...);

    // Byte by byte, by tolower and toupper, so as the current locale has it.
    void MakeLower();
    void MakeUpper();

    // Replaces all occurrences of `search` in the old text; they do not overlap, and replacements
    // are not searched. Nothing happens if `search` is empty; otherwise the capacity becomes exact,
    // also where nothing was found.
    void Replace(char const* search, char const* replacement);

    // The same, ignoring case.
    //
    // Deliberate: here each occurrence rebuilds and reassigns the whole string, so the cost is
    // quadratic in their number, the string keeps its block if nothing is found, and if memory runs
    // out it keeps the replacements done so far.
    void ReplaceNoCase(char const* search, char const* replacement);

    // The index of the first occurrence at or after `start`, or -1. An empty pattern occurs at
    // `start`, if that is within the length. A negative start is bad, one beyond the end is not.
    // "NoCase" is as CompareNoCase has it.
    int Find(char const* pattern, int start) const;
    int FindNoCase(char const* pattern, int start) const;
    int Find(char byte, int start) const;

    // The index of the last occurrence that has at least `fromEnd` bytes behind it, or -1. A
    // negative `fromEnd` is bad.
    int ReverseFind(char byte, int fromEnd) const;

    bool Contains(char const* pattern) const { return Find(pattern, 0) != -1; }
    bool Contains(char byte) const { return Find(byte, 0) != -1; }
    bool ContainsNoCase(char const* pattern) const { return FindNoCase(pattern, 0) != -1; }

    // At most `count` bytes from `start` on. Bad are a start below 0 or above the length, and a
    // negative count.
    StringPL Mid(int start, int count) const;
    StringPL Mid(int start) const;

    // At most `count` bytes from the one or the other end. A negative count is bad.
    StringPL Left(int count) const;
    StringPL Right(int count) const;

    // By strcmp, and by strcasecmp, which follows the current locale: up to the first NUL.
    int Compare(char const* text) const { return std::strcmp(characters, text); }
    int CompareNoCase(char const* text) const;
    bool Equals(char const* text) const { return Compare(text) == 0; }
    bool EqualsIgnoringCase(char const* text) const { return CompareNoCase(text) == 0; }

private:
    // What stands in front of the characters.
    struct Header {
        std::uint32_t capacity;
        std::uint32_t length;
    };

    // The block of all strings of capacity 1. It never gets other values than it has, and is not
    // written at all where it has them, so that threads may share it.
    struct EmptyBlock {
        Header header;
        char nul;
    };
    static EmptyBlock sharedEmpty;

    static char* EmptyText() { return reinterpret_cast<char*>(&sharedEmpty) + sizeof(Header); }

    // The characters of a new block, or of the shared one: with the length 0 and not yet a text, or
    // with the first `count` bytes of `text` up to a NUL among them, and NULs behind.
    static char* NewBlock(std::uint64_t capacity);
    static char* NewText(char const* text, std::uint64_t count);

    static Header& HeaderOf(char* block) { return reinterpret_cast<Header*>(block)[-1]; }
    void FreeBlock() { delete[](characters - sizeof(Header)); }
    void TakeBlock(char* block);

    bool IsShared() const { return characters == EmptyText(); }
    Header& GetHeader() const { return HeaderOf(characters); }
    std::uint32_t Length() const { return GetHeader().length; }
    bool HasRoomFor(std::uint64_t added) const {
        return Length() + added + 1 <= GetHeader().capacity;
    }

    // Appends the run and as many NULs as are missing to `count`.
    void AppendRun(char const* run, std::size_t runLength, std::size_t count);
    void AppendGrowing(char const* run, std::size_t runLength, std::size_t count);

    // REQUIRES: HasRoomFor(1).
    void AppendByte(char byte);
    // By value, so that a byte of the caller's can stay in a register.
    void AppendByteGrowing(char byte);

    char* characters;
};

// Bytes are often appended one by one, so that case stays clear of the library's calls.

inline void StringPL::AppendByte(char byte) {
    Header& header = GetHeader();
    char* const end = characters + header.length;
    ++header.length;
    // The byte and the NUL in one store, since it is stores that a loop of appends waits for.
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

// All relations rest on Compare: bytes up to the first NUL, as strcmp orders them.

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
