// One component of a path, as a value.
//
// The bytes are in the encoding of the locale, as in the file system. A name of up to 23 bytes is
// stored inside the object, without an allocation. A longer name is in a block that the object
// owns. Copies are deep.
#pragma once

#include "data/ConstData.h"
#include "unicode/Encodings.h"

enum TarvikFileType : int;

namespace UnixPlatform {

// The name of a file, without a directory.
//
// Set accepts 1 to 255 bytes without "/", except "." and "..". All other bytes are valid, even
// control characters and NUL. The default constructor makes the empty name. SafeSet, CombineNames,
// operator+ and the operations that return a part do not validate the bytes, so they can make other
// names. For example, "..." without the prefix "." is "..".
//
// Error handling:
// - Set and the constructors: IllegalFileNameLength, IllegalFileNameReserved, IllegalFileName
// - CombineNames and operator+: IllegalFileName
// - operations that return a part: IllegalFileName, ExtensionDoesNotMatch, PrefixDoesNotMatch
//
// REQUIRES: text that is passed without a length is not null, and NUL-terminated.
class FileName {
public:
    FileName() { inside[0] = '\0'; }

    // Calls Set.
    // GCOVR_EXCL_BR_START: of the called constructor, in objects that never call it
    explicit FileName(char const* name) : FileName(ConstData(name)) {}
    // GCOVR_EXCL_BR_STOP
    explicit FileName(ConstData name);

    // Converts the name to the encoding of the locale and calls Set. See files/EncodedNames.h.
    explicit FileName(UStringRef<UTF8> const& name);

    FileName(FileName const& other) { SafeSet(other.text, other.length); }
    FileName& operator=(FileName const& other);
    ~FileName() { Release(); }

    // Validates and stores the bytes. Checks, in this order: the length, the reserved names, the
    // bytes. If there is a "/", this name is left with the new length and the bytes before the "/";
    // do not use it any further. `name` may be a part of this name.
    void Set(char const* name, unsigned int nameLength);

    // Stores the bytes without validating them. `name` may be a part of this name.
    void SafeSet(char const* name, unsigned int nameLength);

    // Returns the concatenation, stored by SafeSet: it may contain a "/", be reserved, or be empty.
    //
    // Deliberate: throws IllegalFileName (not IllegalFileNameLength) if the result is longer than
    // 254 bytes. The limit is one less than that of Set, because it includes a NUL.
    static FileName CombineNames(char const* first, unsigned int firstLength, char const* second,
                                 unsigned int secondLength);

    // NUL-terminated; valid until the name changes.
    char const* Text() const { return text; }
    unsigned int Length() const { return length; }
    ConstData Bytes() const { return ConstData(text, length); }
    bool IsEmpty() const { return length == 0; }

    // Returns a view of the bytes. See files/EncodedNames.h.
    UStringRef<Local8Bit> MakeLocal8BitRef() const;
    // Returns the bytes, converted to UTF-8. See files/EncodedNames.h.
    AutoUString<UTF8> MakeUTF8String() const;

    // Compare byte by byte, or by Ascii::CompareLowercase if `ignoreCase` is set.
    bool HasSuffix(char const* suffix, bool ignoreCase) const;
    bool HasPrefix(char const* prefix, bool ignoreCase) const;

    // True if the name has the suffix `extension`, and the suffix begins with a dot or follows one.
    // "report.txt" has the extensions ".txt" and "txt"; "reporttxt" and "txt" have neither.
    bool HasExtension(char const* extension, bool ignoreCase) const;

    // True if `pattern` matches the whole name (see MatchWildcard). Case-sensitive.
    bool MatchesWildCard(char const* pattern) const;

    // Returns the digits 0 to 9 at the start. Throws IllegalFileName if there are none.
    FileName PrefixDigits() const;

    // Returns the name without the suffix `extension`: "a.txt" without ".txt" is "a", without "txt"
    // it is "a.", with its dot. Throws ExtensionDoesNotMatch if HasExtension is false, and
    // IllegalFileName if the result would be empty.
    FileName NameBeforeExtension(char const* extension, bool ignoreCase) const;

    // Returns the name without the prefix. Throws PrefixDoesNotMatch if HasPrefix is false, and
    // IllegalFileName if the result would be empty.
    FileName NameAfterPrefix(char const* prefix, bool ignoreCase) const;

    // Returns the bytes before the last dot, or the whole name if it has no dot. Empty for
    // ".profile".
    FileName BaseName() const;

    // Returns the type for the extension, which is the last dot and the bytes after it, or the
    // whole name if it has no dot. Case-insensitive. Defined in AdviceFileTypes.cpp.
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

// Concatenate by CombineNames. Case is kept, and no separator is added.
FileName operator+(ConstData const& first, FileName const& second);
FileName operator+(char const* first, FileName const& second);
FileName operator+(FileName const& first, ConstData const& second);
FileName operator+(FileName const& first, char const* second);
FileName operator+(FileName const& first, FileName const& second);

} // namespace UnixPlatform
