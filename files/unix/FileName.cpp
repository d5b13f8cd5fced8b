#include "files/unix/FileName.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "data/Ascii.h"
#include "files/FileName.h"
#include "files/unix/WildcardMatch.h"

namespace UnixPlatform {

namespace {

constexpr unsigned int maxNameLength = 255;

bool IsReserved(char const* name, unsigned int length) {
    return name[0] == '.' && (length == 1 || (length == 2 && name[1] == '.'));
}

// Returns the number of bytes before the first "/".
unsigned int LegalLength(char const* name, unsigned int length) {
    auto const* const slash = static_cast<char const*>(std::memchr(name, '/', length));
    return slash == nullptr ? length : static_cast<unsigned int>(slash - name);
}

bool AreEqual(ConstData left, ConstData right, bool ignoreCase) {
    return ignoreCase ? Ascii::CompareLowercase(left, right) == 0 : left == right;
}

FileName Combine(ConstData first, ConstData second) {
    // Truncation does not matter: a part that is too long makes the result too long as well.
    auto const cut = [](ConstData part) {
        return static_cast<unsigned int>(std::min<std::size_t>(part.Length(), maxNameLength));
    };
    return FileName::CombineNames(reinterpret_cast<char const*>(first.begin), cut(first),
                                  reinterpret_cast<char const*>(second.begin), cut(second));
}

} // namespace

FileName::FileName(ConstData name) : FileName() {
    if (name.Length() > maxNameLength)
        throw IllegalFileNameLength();
    Set(reinterpret_cast<char const*>(name.begin), static_cast<unsigned int>(name.Length()));
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): SafeSet accepts its own text
FileName& FileName::operator=(FileName const& other) {
    SafeSet(other.text, other.length);
    return *this;
}

void FileName::Release() {
    if (text != inside)
        delete[] text; // GCOVR_EXCL_BR_LINE: never null
    text = inside;
}

// Stores the first `count` bytes of `source` and NULs up to the new length.
void FileName::Store(char const* source, unsigned int count, unsigned int newLength) {
    static_assert(sizeof(FileName) == 40 && insideSize == 24,
                  "a pointer, 24 bytes inside, and the length");
    std::size_t const size = std::size_t{newLength} + 1;
    char* const target = size <= insideSize ? inside : new char[size];
    if (count != 0)
        std::memmove(target, source, count);
    std::memset(target + count, '\0', size - count);
    if (target != text)
        Release();
    text = target;
    length = newLength;
}

void FileName::Set(char const* name, unsigned int nameLength) {
    if (nameLength == 0 || nameLength > maxNameLength)
        throw IllegalFileNameLength();
    if (IsReserved(name, nameLength))
        throw IllegalFileNameReserved();
    unsigned int const legal = LegalLength(name, nameLength);
    Store(name, legal, nameLength);
    if (legal != nameLength)
        throw IllegalFileName();
}

void FileName::SafeSet(char const* name, unsigned int nameLength) {
    if (name == text && nameLength == length)
        text[length] = '\0';
    else
        Store(name, nameLength, nameLength);
}

FileName FileName::CombineNames(char const* first, unsigned int firstLength, char const* second,
                                unsigned int secondLength) {
    if (std::size_t{firstLength} + secondLength + 1 > maxNameLength)
        throw IllegalFileName();
    char joined[maxNameLength];
    if (firstLength != 0)
        std::memcpy(joined, first, firstLength);
    if (secondLength != 0)
        std::memcpy(joined + firstLength, second, secondLength);
    FileName name;
    name.SafeSet(joined, firstLength + secondLength);
    return name;
}

bool FileName::HasSuffix(char const* suffix, bool ignoreCase) const {
    ConstData const wanted(suffix);
    return wanted.Length() <= length &&
           AreEqual(ConstData(text + length - wanted.Length(), wanted.Length()), wanted,
                    ignoreCase);
}

bool FileName::HasPrefix(char const* prefix, bool ignoreCase) const {
    ConstData const wanted(prefix);
    return wanted.Length() <= length &&
           AreEqual(ConstData(text, wanted.Length()), wanted, ignoreCase);
}

bool FileName::HasExtension(char const* extension, bool ignoreCase) const {
    if (!HasSuffix(extension, ignoreCase))
        return false;
    if (extension[0] == '.')
        return true;
    std::size_t const tail = std::strlen(extension);
    return tail < length && text[length - tail - 1] == '.';
}

bool FileName::MatchesWildCard(char const* pattern) const {
    return MatchWildcard(Bytes(), pattern);
}

FileName FileName::Part(unsigned int start, unsigned int partLength) const {
    FileName part;
    part.SafeSet(text + start, partLength);
    return part;
}

FileName FileName::PrefixDigits() const {
    char const* const end =
        std::find_if_not(text, text + length, [](char byte) { return byte >= '0' && byte <= '9'; });
    if (end == text)
        throw IllegalFileName();
    return Part(0, static_cast<unsigned int>(end - text));
}

FileName FileName::NameBeforeExtension(char const* extension, bool ignoreCase) const {
    if (!HasExtension(extension, ignoreCase))
        throw ExtensionDoesNotMatch();
    auto const tail = static_cast<unsigned int>(std::strlen(extension));
    if (tail == length)
        throw IllegalFileName();
    return Part(0, length - tail);
}

FileName FileName::NameAfterPrefix(char const* prefix, bool ignoreCase) const {
    if (!HasPrefix(prefix, ignoreCase))
        throw PrefixDoesNotMatch();
    auto const head = static_cast<unsigned int>(std::strlen(prefix));
    if (head == length)
        throw IllegalFileName();
    return Part(head, length - head);
}

FileName FileName::BaseName() const {
    std::size_t const dot = Bytes().View().rfind('.');
    return dot == std::string_view::npos ? *this : Part(0, static_cast<unsigned int>(dot));
}

FileName operator+(ConstData const& first, FileName const& second) {
    return Combine(first, second.Bytes());
}

FileName operator+(char const* first, FileName const& second) {
    return Combine(first, second.Bytes());
}

FileName operator+(FileName const& first, ConstData const& second) {
    return Combine(first.Bytes(), second);
}

FileName operator+(FileName const& first, char const* second) {
    return Combine(first.Bytes(), second);
}

FileName operator+(FileName const& first, FileName const& second) {
    return Combine(first.Bytes(), second.Bytes());
}

} // namespace UnixPlatform
