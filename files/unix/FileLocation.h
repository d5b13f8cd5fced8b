// A path as a value, with operations on paths.
//
// The bytes are in the encoding of the locale. A path whose StoredLength is at most 127 is stored
// inside the object. Any other path is in a block that the object owns. Copies are deep. Only
// IsReadOnly accesses the file system.
#pragma once

#include "data/ConstData.h"
#include "files/unix/FileName.h"
#include "unicode/Encodings.h"

namespace UnixPlatform {

// The path of a file, which need not exist.
//
// The empty location means that there is no location; most operations on files reject it. The root
// is exactly "/". Relative paths are allowed, but a path without "/" has no parent.
//
// Paths are not normalized: ".", ".." and repeated slashes are kept, except slashes at the end. A
// path ends at its first NUL.
//
// Error handling: EmptyFileLocationError, RootHasNoParent, InvalidFileLocation, FileIOError and the
// exceptions of FileName::Set, as stated below; std::length_error for a path of 4 GiB and more.
class FileLocation {
public:
    FileLocation() { inside[0] = '\0'; }
    FileLocation(FileLocation const& other);
    FileLocation& operator=(FileLocation const& other);
    ~FileLocation() { Release(); }

    // Replaces the path by `path` without its trailing slashes, but keeps at least one byte: "///"
    // becomes the root. Length 0 makes the empty location. `path` may be a part of this path.
    //
    // Deliberate: if `path` is Text(), nothing changes, whatever `pathLength` is, because this is
    // the check for self-assignment. So this function never truncates the path in place.
    void SetFullPathName(char const* path, unsigned int pathLength);

    // Replaces the path by `parent`, a slash and `name`, without trailing slashes. `name` may have
    // several components, which are not validated; if it is empty, the path is a copy of `parent`.
    // `parent` may be this object, and `name` may be a part of this path. Throws
    // EmptyFileLocationError if `parent` is empty.
    //
    // Deliberate: the slash is added unless `name` begins with one; the end of `parent` is not
    // examined. So the child x of the root is "//x". This is harmless, because the system resolves
    // it like "/x", and its parent is the root again.
    void Set(FileLocation const& parent, ConstData const& name);

    // Returns a new location, set by Set(*this, path). REQUIRES: `path` is not null.
    FileLocation Relative(char const* path) const;

    // Returns the path up to its last "/", without trailing slashes, or the root if only slashes
    // remain. Throws EmptyFileLocationError if the location is empty, RootHasNoParent for the root,
    // and InvalidFileLocation for a path without "/". The last two exceptions name the path.
    FileLocation Parent() const;

    // Returns the bytes after the last "/", or the whole path if it has no "/". Throws like
    // FileName::Set, for example for the root. Returns the empty name for the empty location.
    FileName Name() const;

    // True if the path is exactly "/". Throws EmptyFileLocationError if the location is empty.
    bool IsRoot() const;

    // True if this process may not write there: access(2) fails with EACCES or EROFS. Other
    // failures throw like ThrowFileError. Throws EmptyFileLocationError if the location is empty.
    // Defined in FileOperations.cpp.
    bool IsReadOnly() const;

    // The path, NUL-terminated; valid until the location changes. Bytes ends at the first NUL.
    char const* Text() const { return text; }
    ConstData Bytes() const { return ConstData(text); } // GCOVR_EXCL_BR_LINE: no throw
    bool IsEmpty() const { return *text == '\0'; }

    // Returns the same bytes as Bytes. See files/EncodedNames.h.
    UStringRef<Local8Bit> Local8BitPath() const;

    // Returns the stored length, which may exceed that of Bytes. It includes the bytes after an
    // embedded NUL. Set adds one for a name that begins with "/", and adds the excess of `parent`
    // for a name that is not empty. Copies store the length of Bytes.
    unsigned int StoredLength() const { return length; }

private:
    static constexpr unsigned int insideSize = 128;

    void Adopt(char* block, unsigned int newLength);
    void Release();

    char* text = inside;
    char inside[insideSize];
    unsigned int length = 0;
};

// Returns the path of Parent as a view of `path`, so a loop over all ancestors copies nothing.
// Throws like Parent.
ConstData ParentPath(ConstData path);

// See files/FileLocation.h.
char const* MakeFileLocationWithWildcard(char const* pattern, FileLocation& location);

} // namespace UnixPlatform

// Splits `pattern` before its last component, if that has a "*" or a "?", and returns a pointer to
// the component. Otherwise sets `directoryPart` to the whole pattern and returns null.
//
// The directory part includes its "/"; it is empty if there is none. Wildcards in other components
// are ordinary bytes. Throws EmptyFileLocationError if `pattern` is null or empty.
char const* MakeFileLocationWithWildcardUnix(char const* pattern, ConstData& directoryPart);
