// One component of a path, as a value of its own.
//
// The bytes are in the encoding of the locale, as the file system has them. A name of up to 23
// bytes stands inside the object, so that a walk through a directory allocates nothing for it; a
// longer one has a block of its own. Copies are real copies.
#pragma once

#include "data/ConstData.h"
#include "unicode/Encodings.h"

enum TarvikFileType : int;

namespace UnixPlatform {

// A name of a file, without any directory.
//
// What Set has accepted has 1 to 255 bytes, no "/" among them, and is neither "." nor "..". All
// other bytes are legal, control characters and NUL too. An empty name can exist all the same (by
// default, from SafeSet or from BaseName), and SafeSet and what stands on it (the joining by +)
// promise nothing at all.
//
// Error handling: IllegalFileNameLength, IllegalFileNameReserved and IllegalFileName from Set;
// IllegalFileName, ExtensionDoesNotMatch and PrefixDoesNotMatch from what cuts a name.
//
// REQUIRES, where a text comes without a length: it is not null, and ends with a NUL.
class FileName {
public:
    FileName() { inside[0] = '\0'; }

    // Through Set.
    // GCOVR_EXCL_BR_START: of the called constructor, in objects that never call it
    explicit FileName(char const* name) : FileName(ConstData(name)) {}
    // GCOVR_EXCL_BR_STOP
    explicit FileName(ConstData name);

    // Through Set, in the encoding of the locale. See files/EncodedNames.h.
    explicit FileName(UStringRef<UTF8> const& name);

    FileName(FileName const& other) { SafeSet(other.text, other.length); }
    FileName& operator=(FileName const& other);
    ~FileName() { Release(); }

    // Tests, in this order: the length, the reserved names, the bytes. When it finds a "/", the
    // name already has the new length and the bytes before that "/": it is not to be used further.
    // `name` may be a part of this name.
    void Set(char const* name, unsigned int nameLength);

    // Stores without any test. `name` may be a part of this name.
    void SafeSet(char const* name, unsigned int nameLength);

    // The second name behind the first. The result is stored through SafeSet: it can hold a "/", be
    // reserved, or be empty.
    //
    // Deliberate: it takes at most 254 bytes, one less than Set, and throws IllegalFileName (not
    // IllegalFileNameLength) beyond that.
    static FileName CombineNames(char const* first, unsigned int firstLength, char const* second,
                                 unsigned int secondLength);

    // NUL-terminated; owned by the name, until it is changed.
    char const* Text() const { return text; }
    unsigned int Length() const { return length; }
    ConstData Bytes() const { return ConstData(text, length); }
    bool IsEmpty() const { return length == 0; }

    // The bytes as they stand, and their text. See files/EncodedNames.h.
    UStringRef<Local8Bit> MakeLocal8BitRef() const;
    AutoUString<UTF8> MakeUTF8String() const;

    // Byte by byte, or by Ascii::CompareLowercase if `ignoreCase`.
    bool HasSuffix(char const* suffix, bool ignoreCase) const;
    bool HasPrefix(char const* prefix, bool ignoreCase) const;

    // A suffix that begins with a dot, or has one in front of it: "report.txt" has the extensions
    // ".txt" and "txt", "reporttxt" and "txt" have neither.
    bool HasExtension(char const* extension, bool ignoreCase) const;

    // Whether `pattern` matches the whole name; MatchWildcard tells how. Case matters.
    bool MatchesWildCard(char const* pattern) const;

    // The digits 0 to 9 at the start. Throws IllegalFileName if there are none.
    FileName PrefixDigits() const;

    // The name less as many bytes as `extension` has: "a.txt" less ".txt" is "a", and less "txt" it
    // is "a.", with its dot. Throws ExtensionDoesNotMatch if HasExtension is false, and
    // IllegalFileName if nothing would be left.
    FileName NameBeforeExtension(char const* extension, bool ignoreCase) const;

    // Throws PrefixDoesNotMatch if HasPrefix is false, and IllegalFileName if nothing is left.
    FileName NameAfterPrefix(char const* prefix, bool ignoreCase) const;

    // All in front of the last dot; the whole name if it has none. Empty for ".profile".
    FileName BaseName() const;

    // The kind of file that goes with the last dot and what follows it, whatever the case of its
    // letters; the whole name is looked up if it has no dot. Defined with the table of extensions.
    TarvikFileType ExtensionType() const;

private:
    static constexpr unsigned int insideSize = 24;

    void Store(char const* source, unsigned int count, unsigned int newLength);
    void Release();
    FileName Part(unsigned int start, unsigned int partLength) const;

    char* text = inside;
    char inside[insideSize];
    unsigned int length = 0;
};

// Through CombineNames. The names keep their case, and no separator is put between them.
FileName operator+(ConstData const& first, FileName const& second);
FileName operator+(char const* first, FileName const& second);
FileName operator+(FileName const& first, ConstData const& second);
FileName operator+(FileName const& first, char const* second);
FileName operator+(FileName const& first, FileName const& second);

} // namespace UnixPlatform
