// A path as a value, which the operations on files take.
//
// files/unix/FileLocation.h declares the operations on paths (Parent, Name, Relative, ...). This
// header adds validated names, factory functions and comparison.
#pragma once

#include "data/ConstData.h"
#include "files/FileName.h"
#include "files/unix/FileLocation.h"

// Has the same layout as its base class; both are converted into each other by copying.
class FileLocation : public UnixPlatform::FileLocation {
public:
    FileLocation() = default;
    FileLocation(UnixPlatform::FileLocation const& location);

    // The child `name` of `parent`. The first two overloads convert `name` to a FileName, with the
    // exceptions of FileName::Set; unlike Relative, they reject a "/". After the conversion, throw
    // EmptyFileLocationError if `parent` is empty.
    //
    // A null pointer makes a copy of `parent`, even if `parent` is empty. An empty FileName makes a
    // copy of a `parent` that is not empty.
    FileLocation(FileLocation const& parent, char const* name);
    FileLocation(FileLocation const& parent, ConstData name);
    FileLocation(FileLocation const& parent, FileName const& name);

    FileLocation Child(FileName const& name) const;

    // Returns a child of the same parent. Throws like Parent.
    FileLocation Sibling(FileName const& name) const;

    // Throws EmptyFileLocationError if the location is empty.
    void RequireNonEmpty() const;
};

// Call SetFullPathName. A null pointer makes the empty location. Throw std::length_error for 4 GiB
// and more.
FileLocation MakeFileLocation(char const* path);
FileLocation MakeFileLocation(ConstData path);

// Returns `base.Relative(path)`.
FileLocation MakeRelativeFileLocation(FileLocation const& base, char const* path);

// Splits a pattern such as "/a/b/*.txt" into the location "/a/b", which it stores in `location`,
// and a pointer to "*.txt" within `pattern`, which it returns.
//
// If the last component has no "*" and no "?", returns null and sets `location` to the whole
// pattern. For a wildcard without a "/", such as "*.txt", sets the empty location. Throws
// EmptyFileLocationError if `pattern` is null or empty. REQUIRES: `pattern` is not the text of
// `location`.
char const* MakeFileLocationWithWildcard(char const* pattern, FileLocation& location);

// True if the path begins with "/". False for null.
bool IsAbsolutePath(char const* path);

// True if `ancestor` is reached from `candidate` by Parent in any number of steps; for
// IsDescendant, in at least one step. Throw EmptyFileLocationError if a location is empty, and
// InvalidFileLocation if `candidate` is relative and neither equal to `ancestor` nor a descendant.
//
// Deliberate: paths are compared by Ascii::EqualIgnoringCase, although the file system is
// case-sensitive. They are not normalized: "/a" is not equal to "//a". Kept for compatibility.
bool EqualOrDescendant(FileLocation const& ancestor, FileLocation const& candidate);
bool IsDescendant(FileLocation const& ancestor, FileLocation const& candidate);

// Parses the first eight bytes of the location's name as YYYYMMDD. Throws like Name, and
// IllegalFileName if the name has fewer than nine bytes.
//
// Does not check that the bytes are digits or form a date. The value of a byte is its difference
// from "0", and sums wrap modulo 2^32.
void GetDateFromNameInFileLocation(FileLocation const& location, unsigned int& year,
                                   unsigned int& month, unsigned int& day);
