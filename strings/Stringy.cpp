#include "strings/Stringy.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "data/Ascii.h"
#include "data/CheckedArithmetic.h"
#include "data/Numeral.h"

static_assert(sizeof(Stringy) == 144, "a pointer, a size and 128 bytes of text");

namespace {

constexpr std::uint32_t maxLength = 0xFFFFFFFE;

std::uint32_t Clamp(std::size_t length) {
    return static_cast<std::uint32_t>(std::min<std::size_t>(length, maxLength));
}

// Clamps a count to the range 0 to `available`.
std::uint32_t Clamp(std::int64_t count, std::uint32_t available) {
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(count, 0, available));
}

std::uint32_t LengthWithRoomForNul(unsigned int count) {
    if (!CanAdd(count, 1u))
        throw StringyLengthTooLong();
    return count;
}

bool IsWhite(char byte) { return Ascii::WhiteSpace()->Contains(static_cast<unsigned char>(byte)); }

} // namespace

Stringy::Stringy(char const* text) {
    if (text != nullptr)
        Build(text, Clamp(std::strlen(text)));
}

Stringy::Stringy(char const* bytes, unsigned int count) {
    if (count != 0)
        Build(bytes, LengthWithRoomForNul(count));
}

Stringy::Stringy(unsigned char const* bytes, unsigned int count)
    : Stringy(reinterpret_cast<char const*>(bytes), count) {}

Stringy::Stringy(ConstData const& bytes) {
    if (!bytes.IsEmpty())
        Build(reinterpret_cast<char const*>(bytes.begin), Clamp(bytes.Length()));
}

Stringy::Stringy(int value) : Stringy(static_cast<ConstData>(Numeral(value, 10))) {}

Stringy::Stringy(unsigned int value) : Stringy(static_cast<ConstData>(Numeral(value, 10))) {}

Stringy::Stringy(unsigned long long value) : Stringy(static_cast<ConstData>(Numeral(value, 10))) {}

Stringy::Stringy(Stringy const& source) {
    if (source.characters != nullptr)
        Build(source.characters, source.GetLength());
}

void Stringy::MakeNull() {
    if (IsOnHeap())
        FreeHeap();
    characters = nullptr;
    sizeWithNul = 0;
}

void Stringy::Build(char const* bytes, std::uint32_t count) {
    std::uint32_t const size = count + 1;
    characters = size <= smallSize ? smallBuffer : new char[size];
    sizeWithNul = size;
    std::memcpy(characters, bytes, count);
    characters[count] = '\0';
}

// cppcheck-suppress operatorEqVarError ; smallBuffer is unused if the text is on the heap
Stringy& Stringy::operator=(Stringy const& source) {
    if (this != &source) {
        MakeNull();
        if (!source.IsEmpty())
            Build(source.characters, source.GetLength());
    }
    return *this;
}

Stringy& Stringy::operator=(char const* text) {
    if (text == characters)
        return *this;
    if (text == nullptr) {
        MakeNull();
        return *this;
    }
    std::uint32_t const length = Clamp(std::strlen(text));
    char* const target = ArrayFor(length, smallSize);
    std::memmove(target, text, length);
    target[length] = '\0';
    if (IsOnHeap())
        FreeHeap();
    characters = target;
    sizeWithNul = length + 1;
    return *this;
}

void Stringy::AppendBytes(char const* bytes, std::size_t count, unsigned int limit) {
    std::uint32_t const oldLength = GetLength();
    std::uint32_t const length = Clamp(oldLength + count);
    char* const target = ArrayFor(length, limit);
    if (target != characters && oldLength != 0)
        std::memcpy(target, characters, oldLength);
    std::memmove(target + oldLength, bytes, length - oldLength);
    target[length] = '\0';
    if (IsOnHeap())
        FreeHeap();
    characters = target;
    sizeWithNul = length + 1;
}

Stringy& Stringy::operator+=(char byte) {
    if (byte != '\0')
        AppendBytes(&byte, 1, smallSize);
    return *this;
}

Stringy& Stringy::operator+=(char const* text) {
    if (text != nullptr && *text != '\0')
        AppendBytes(text, std::strlen(text), IsEmpty() ? smallSize - 1 : smallSize);
    return *this;
}

Stringy& Stringy::operator+=(Stringy const& source) {
    if (!source.IsEmpty())
        AppendBytes(source.characters, source.GetLength(), IsEmpty() ? smallSize - 1 : smallSize);
    return *this;
}

Stringy& Stringy::operator+=(ConstData const& bytes) {
    if (!bytes.IsEmpty())
        AppendBytes(reinterpret_cast<char const*>(bytes.begin), bytes.Length(), smallSize);
    return *this;
}

Stringy operator+(Stringy const& left, char right) {
    Stringy sum(left);
    sum += right;
    return sum;
}

Stringy operator+(Stringy const& left, Stringy const& right) {
    Stringy sum(left);
    sum += right;
    return sum;
}

int Stringy::Find(char byte) const {
    char const* const text = *this;
    void const* const found = std::memchr(text, byte, GetLength());
    return found == nullptr ? -1 : static_cast<int>(static_cast<char const*>(found) - text);
}

int Stringy::FindFromRight(char byte) const {
    char const* const text = *this;
    void const* const found = memrchr(text, byte, GetLength());
    return found == nullptr ? -1 : static_cast<int>(static_cast<char const*>(found) - text);
}

bool Stringy::Contains(char const* text) const {
    if (characters == nullptr || text == nullptr)
        return characters == nullptr && text == nullptr;
    return std::strstr(characters, text) != nullptr;
}

bool Stringy::StartsWith(char const* prefix) const {
    std::size_t const length = prefix == nullptr ? 0 : std::strlen(prefix);
    return length == 0 || (length <= GetLength() && std::strncmp(characters, prefix, length) == 0);
}

bool Stringy::StartsWithIgnoringCase(char const* prefix) const {
    std::size_t const length = prefix == nullptr ? 0 : std::strlen(prefix);
    return length == 0 ||
           (length <= GetLength() &&
            Ascii::EqualIgnoringCase(ConstData(characters, length), ConstData(prefix, length)));
}

bool Stringy::StartsWithIgnoringCase(Stringy const& prefix) const {
    std::uint32_t const length = prefix.GetLength();
    return length == 0 || (length <= GetLength() &&
                           Ascii::EqualIgnoringCase(ConstData(characters, length),
                                                    ConstData(prefix.characters, length)));
}

int Stringy::Compare(Stringy const& other) const {
    if (IsEmpty())
        return other.IsEmpty() ? 0 : -1;
    return other.IsEmpty() ? 1 : std::strcmp(characters, other.characters);
}

int Stringy::CompareNoCase(Stringy const& other) const {
    if (characters == nullptr)
        return other.characters == nullptr ? 0 : -1;
    if (other.characters == nullptr)
        return 1;
    return Ascii::CompareUppercase(BytesWithNul(), other.BytesWithNul());
}

bool Stringy::EqualIgnoringCase(Stringy const& other) const {
    return characters != nullptr && other.characters != nullptr &&
           Ascii::EqualIgnoringCase(BytesWithNul(), other.BytesWithNul());
}

Stringy Stringy::Left(int count) const { return Stringy(characters, Clamp(count, GetLength())); }

Stringy Stringy::Right(int count) const {
    std::uint32_t const kept = Clamp(count, GetLength());
    return kept == 0 ? Stringy() : Stringy(characters + (GetLength() - kept), kept);
}

Stringy Stringy::Mid(int start, int count) const {
    std::uint32_t const from = Clamp(start, GetLength());
    std::uint32_t const kept = Clamp(count, GetLength() - from);
    return kept == 0 ? Stringy() : Stringy(characters + from, kept);
}

Stringy Stringy::Mid(int start) const {
    std::uint32_t const from = Clamp(start, GetLength());
    return from == GetLength() ? Stringy() : Stringy(characters + from, GetLength() - from);
}

Stringy Stringy::SubstringAfterLastSeparator(char separator) const {
    int const index = FindFromRight(separator);
    if (index == -1)
        return Stringy();
    Stringy substring = Mid(index + 1);
    substring.StripLeadingAndTrailingWhite();
    return substring;
}

void Stringy::MakeLower() {
    std::transform(characters, characters + GetLength(), characters,
                   [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
}

void Stringy::MakeUpper() {
    std::transform(characters, characters + GetLength(), characters,
                   [](unsigned char byte) { return static_cast<char>(std::toupper(byte)); });
}

unsigned int Stringy::Replace(char byte, char replacement) {
    unsigned int count = 0;
    for (std::uint32_t i = 0; i < GetLength(); ++i) {
        if (characters[i] == byte) {
            characters[i] = replacement;
            ++count;
        }
    }
    return count;
}

void Stringy::TrimLeft() {
    std::uint32_t white = 0;
    while (white < GetLength() && IsWhite(characters[white]))
        ++white;
    if (white != 0)
        *this = Stringy(ConstData(characters + white, GetLength() - white));
}

void Stringy::StripLeadingAndTrailingWhite() {
    if (characters == nullptr)
        return;
    char const* first = characters;
    while (IsWhite(*first))
        ++first;
    char const* end = characters + GetLength();
    if (*first == '\0') {
        MakeNull();
        return;
    }
    while (IsWhite(end[-1]))
        --end;
    *this = Stringy(ConstData(first, end));
}

unsigned int Stringy::SplitSeparatedStringsIntoArray(char const* text, char separator,
                                                     std::vector<Stringy>& items,
                                                     unsigned int maxItems, bool strip) {
    if (text == nullptr || *text == '\0')
        return 0;
    unsigned int count = 0;
    while (count < maxItems) {
        char const* const end = strchrnul(text, separator);
        items.emplace_back(ConstData(text, end));
        if (strip)
            items[count].StripLeadingAndTrailingWhite();
        ++count;
        if (*end != separator)
            break;
        text = end + 1;
    }
    return count;
}
