#include "strings/StringPL.h"

#include <cctype>
#include <cstdarg>
#include <cstdio>

#include "data/Ascii.h"
#include "data/Buffer.h"
#include "simd/CopyShort.h"
#include "strings/LocaleCase.h"

static_assert(sizeof(StringPL) == sizeof(char*), "a string is one pointer wide");

namespace {

// The size of a block with this capacity, including its header, fits 32 bits.
constexpr std::uint64_t maxCapacity = 0xFFFFFFF7;

constexpr std::uint64_t minFormatCapacity = 64;

// Below this length, LettersAreAscii costs more than it saves.
constexpr std::size_t minLengthForAsciiCase = 8;

// Throws if an index or a count is negative; otherwise returns it as an unsigned number.
std::uint32_t NotNegative(int number) {
    if (number < 0)
        throw StringPLOutOfBoundsException();
    return static_cast<std::uint32_t>(number);
}

// Writes the run, and NULs up to and including target[count]. The run may be in the same string, in
// front of the target.
void WriteText(char* target, char const* run, std::size_t runLength, std::size_t count) {
    if (runLength <= 16)
        Simd::CopyUpTo16(target, run, runLength);
    else
        std::memmove(target, run, runLength);
    if (runLength < count)
        std::memset(target + runLength, 0, count - runLength);
    target[count] = '\0';
}

// Returns the first match in `from` to `end`, or null. The text may have embedded NULs; strstr is
// called for each part between them.
// REQUIRES: `from` is not after `end`, and there is a NUL at `end` or after it.
char const* FindRun(char const* from, char const* end, char const* pattern) {
    do {
        if (char const* const match = std::strstr(from, pattern)) {
            // A match of strstr has no NUL, so it cannot extend beyond a NUL at `end`.
            bool const fits =
                *end == '\0' || end - match >= static_cast<std::ptrdiff_t>(std::strlen(pattern));
            return fits ? match : nullptr;
        }
        from += std::strlen(from) + 1;
    } while (from <= end);
    return nullptr;
}

// Maps all bytes by tolower or toupper.
template <int MapByte(int), void MapAscii(ConstData, Data)>
void MapCase(char* text, std::size_t length) {
    if (length >= minLengthForAsciiCase && LettersAreAscii()) {
        MapAscii(ConstData(text, length), Data(text, length));
        return;
    }
    for (std::size_t i = 0; i < length; ++i)
        text[i] = static_cast<char>(MapByte(static_cast<unsigned char>(text[i])));
}

} // namespace

char const* StringPLOutOfBoundsException::what() const noexcept {
    return "StringPLOutOfBoundsException";
}

constinit StringPL::EmptyBlock StringPL::sharedEmpty{{1, 0}, '\0'};

// Inline, because it is most of the cost of making a short string.
inline char* StringPL::NewBlock(std::uint64_t capacity) {
    if (capacity > maxCapacity)
        throw StringPLOutOfBoundsException();
    if (capacity <= 1)
        return EmptyText();
    char* const allocation = new char[sizeof(Header) + capacity];
    char* const block = allocation + sizeof(Header);
    HeaderOf(block) = Header{static_cast<std::uint32_t>(capacity), 0};
    return block;
}

void StringPL::TakeBlock(char* block) {
    if (!IsShared())
        FreeBlock();
    characters = block;
}

char* StringPL::NewText(char const* text, std::uint64_t count) {
    char* const block = NewBlock(count + 1);
    if (count != 0) {
        // The builtin, because the checked strncpy of _FORTIFY_SOURCE costs 7 % of a copy. The
        // block has count + 1 bytes.
        __builtin_strncpy(block, text, count);
        block[count] = '\0';
        HeaderOf(block).length = static_cast<std::uint32_t>(count);
    }
    return block;
}

StringPL& StringPL::operator=(char const* text) {
    if (text != characters)
        TakeBlock(text == nullptr ? EmptyText() : NewText(text, std::strlen(text)));
    return *this;
}

StringPL& StringPL::operator=(StringPL const& source) {
    if (this != &source)
        *this = source.characters;
    return *this;
}

// The length of the shared block is always 0, so the shared block is never written.
void StringPL::SetStringLength(unsigned int length) {
    if (Length() != length)
        GetHeader().length = length;
}

char StringPL::GetAt(int index) const {
    if (NotNegative(index) >= Length())
        throw StringPLOutOfBoundsException();
    return characters[index];
}

void StringPL::AppendRun(char const* run, std::size_t runLength, std::size_t count) {
    if (!HasRoomFor(count)) {
        AppendGrowing(run, runLength, count);
    } else if (!IsShared()) {
        Header& header = GetHeader();
        char* const end = characters + header.length;
        header.length += static_cast<std::uint32_t>(count);
        WriteText(end, run, runLength, count);
    }
}

[[gnu::noinline]] void StringPL::AppendGrowing(char const* run, std::size_t runLength,
                                               std::size_t count) {
    std::uint32_t const oldLength = Length();
    std::uint64_t const length = std::uint64_t{oldLength} + count;
    std::uint64_t capacity = GetHeader().capacity;
    while (capacity <= length)
        capacity *= 2;
    char* const block = NewBlock(capacity);
    std::memcpy(block, characters, oldLength);
    WriteText(block + oldLength, run, runLength, count);
    TakeBlock(block);
    SetStringLength(static_cast<std::uint32_t>(length));
}

void StringPL::AppendByteGrowing(char byte) { AppendGrowing(&byte, 1, 1); }

StringPL StringPL::operator+(char const* text) const {
    StringPL sum(*this);
    sum += text;
    return sum;
}

// NOLINTNEXTLINE(cert-dcl50-cpp): the interface is that of printf
void StringPL::Format(char const* format, ...) {
    for (std::uint64_t wanted = minFormatCapacity;; wanted = 2 * std::uint64_t{GetBufferLength()}) {
        if (GetBufferLength() < wanted) {
            // Deliberate: the old block is freed first, so that there are never two. The string is
            // empty if the allocation throws.
            TakeBlock(EmptyText());
            TakeBlock(NewBlock(wanted));
        }
        std::uint32_t const room = GetBufferLength() - 1;
        va_list arguments;
        va_start(arguments, format);
        int const printed = std::vsnprintf(characters, room, format, arguments);
        va_end(arguments);
        if (printed >= 0 && static_cast<std::uint32_t>(printed) < room) {
            characters[printed] = '\0';
            SetStringLength(static_cast<std::uint32_t>(printed));
            return;
        }
    }
}

void StringPL::MakeLower() { MapCase<std::tolower, Ascii::LowerCase>(characters, Length()); }

void StringPL::MakeUpper() { MapCase<std::toupper, Ascii::RaiseCase>(characters, Length()); }

void StringPL::Replace(char const* search, char const* replacement) {
    std::size_t const searchLength = std::strlen(search);
    std::size_t const replacementLength = std::strlen(replacement);
    if (searchLength == 0)
        return;
    char const* const end = characters + Length();
    auto const next = [&](char const* from) {
        return FindRun(from, end, search);
    };

    std::uint64_t length = Length();
    for (char const* match = next(characters); match != nullptr; match = next(match + searchLength))
        length = length - searchLength + replacementLength;

    char* const block = NewBlock(length + 1);
    char* target = block;
    auto const copy = [&](char const* from, std::size_t count) {
        std::memcpy(target, from, count);
        target += count;
    };
    char const* from = characters;
    for (char const* match = next(from); match != nullptr; match = next(from)) {
        copy(from, static_cast<std::size_t>(match - from));
        copy(replacement, replacementLength);
        from = match + searchLength;
    }
    copy(from, static_cast<std::size_t>(end - from));
    if (length != 0)
        *target = '\0';
    TakeBlock(block);
    SetStringLength(static_cast<std::uint32_t>(length));
}

void StringPL::ReplaceNoCase(char const* search, char const* replacement) {
    // Copies, because the arguments may be parts of this string, which each match replaces.
    StringPL const wanted(search);
    StringPL const inserted(replacement);
    if (wanted.IsEmpty())
        return;
    // Adds the lengths as unsigned numbers, so no sum overflows.
    auto const behind = [](int match, StringPL const& text) {
        return static_cast<int>(static_cast<std::uint32_t>(match) + text.Length());
    };
    for (int match = FindNoCase(wanted, 0); match != -1;
         match = FindNoCase(wanted, behind(match, inserted)))
        *this = Left(match) + inserted + Mid(behind(match, wanted));
}

int StringPL::Find(char const* pattern, int start) const {
    std::uint32_t const from = NotNegative(start);
    if (from > Length())
        return -1;
    char const* const match = FindRun(characters + from, characters + Length(), pattern);
    return match == nullptr ? -1 : static_cast<int>(match - characters);
}

int StringPL::FindNoCase(char const* pattern, int start) const {
    std::uint32_t const from = NotNegative(start);
    std::size_t const patternLength = std::strlen(pattern);
    if (from + patternLength > Length())
        return -1;
    char const* const match =
        FindCaseInsensitive(characters + from, Length() - from, pattern, patternLength);
    return match == nullptr ? -1 : static_cast<int>(match - characters);
}

int StringPL::Find(char byte, int start) const {
    std::uint32_t const from = NotNegative(start);
    if (from >= Length())
        return -1;
    void const* const match = std::memchr(characters + from, byte, Length() - from);
    return match == nullptr ? -1 : static_cast<int>(static_cast<char const*>(match) - characters);
}

int StringPL::ReverseFind(char byte, int fromEnd) const {
    std::uint32_t const behind = NotNegative(fromEnd);
    if (behind >= Length())
        return -1;
    void const* const match = memrchr(characters, byte, Length() - behind);
    return match == nullptr ? -1 : static_cast<int>(static_cast<char const*>(match) - characters);
}

StringPL StringPL::Mid(int start, int count) const {
    std::uint32_t const from = NotNegative(start);
    std::uint32_t const wanted = NotNegative(count);
    if (from > Length())
        throw StringPLOutOfBoundsException();
    std::uint32_t const rest = Length() - from;
    return StringPL(characters + from, wanted < rest ? wanted : rest);
}

StringPL StringPL::Mid(int start) const {
    std::uint32_t const from = NotNegative(start);
    if (from > Length())
        throw StringPLOutOfBoundsException();
    return StringPL(characters + from, Length() - from);
}

StringPL StringPL::Left(int count) const { return Mid(0, count); }

StringPL StringPL::Right(int count) const {
    std::uint32_t const wanted = NotNegative(count);
    std::uint32_t const cut = wanted < Length() ? wanted : Length();
    return StringPL(characters + (Length() - cut), cut);
}

int StringPL::CompareNoCase(char const* text) const { return strcasecmp(characters, text); }
