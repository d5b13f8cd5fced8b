// A path as a value: what every operation on files takes.
//
// The operations of paths (Parent, Name, Relative, ...) stand in files/unix/FileLocation.h; this
// level adds validated names, makers and comparison. Pass locations by reference, copy to store.
#pragma once

#include "data/ConstData.h"
#include "files/FileName.h"
#include "files/unix/FileLocation.h"

// Same layout as the platform's location, and convertible from and to it by copying.
class FileLocation : public UnixPlatform::FileLocation {
public:
    FileLocation() = default;
    FileLocation(UnixPlatform::FileLocation const& location);

    // The child `name` of `parent`. Bytes become a FileName first, with the exceptions of its Set:
    // a "/" is refused here, unlike in Relative. A null pointer gives a copy of `parent`; otherwise
    // EmptyFileLocationError if `parent` is empty.
    FileLocation(FileLocation const& parent, char const* name);
    FileLocation(FileLocation const& parent, ConstData name);
    FileLocation(FileLocation const& parent, FileName const& name);

    FileLocation Child(FileName const& name) const;

    // A child of the same parent. Fails as Parent does.
    FileLocation Sibling(FileName const& name) const;

    // Throws EmptyFileLocationError if the location is empty.
    void RequireNonEmpty() const;
};

// Through SetFullPathName. A null pointer gives the empty location. Throws std::length_error
// for 4 GiB and more.
FileLocation MakeFileLocation(char const* path);
FileLocation MakeFileLocation(ConstData path);

// `base.Relative(path)`.
FileLocation MakeRelativeFileLocation(FileLocation const& base, char const* path);

// Splits a text such as "/a/b/*.txt" into the location "/a/b" and the pointer to "*.txt" within it.
// Null, and the location of the whole text, if the last component has no "*" and no "?"; the empty
// location, if there is nothing in front of it. Throws EmptyFileLocationError if `pattern` is null
// or empty. REQUIRES: `pattern` is not the text of `location`.
char const* MakeFileLocationWithWildcard(char const* pattern, FileLocation& location);

// Whether the path begins with "/". False for null.
bool IsAbsolutePath(char const* path);

// Whether climbing from `candidate` leads to `ancestor`; the second form wants at least one step.
// Throws EmptyFileLocationError if either is empty. A relative candidate that never meets its
// ancestor throws InvalidFileLocation.
//
// Deliberate: the paths are compared by Ascii::EqualIgnoringCase, though the file system tells case
// apart, and not normalised: "/a" is not "//a".
bool EqualOrDescendant(FileLocation const& ancestor, FileLocation const& candidate);
bool IsDescendant(FileLocation const& ancestor, FileLocation const& candidate);

// Reads the first eight bytes of the location's name as YYYYMMDD. Throws IllegalFileName if the
// name has fewer than nine bytes, and as Name does.
//
// Nobody tests that they are digits, or a date. A byte counts as its value less that of
// "0", and sums wrap modulo 2^32.
void GetDateFromNameInFileLocation(FileLocation const& location, unsigned int& year,
                                   unsigned int& month, unsigned int& day);
