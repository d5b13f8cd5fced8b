// A path as a value, with the arithmetic of paths.
//
// The bytes are in the encoding of the locale. A path of up to 127 bytes stands inside the object;
// a longer one has a block of its own. Copies are real copies. Nothing here asks the disk, but
// IsReadOnly.
#pragma once

#include "data/ConstData.h"
#include "files/unix/FileName.h"
#include "unicode/Encodings.h"

namespace UnixPlatform {

// Where a file stands, or might stand.
//
// The empty location is legal and means no location; most operations on files refuse it. The root
// is exactly "/". A relative path is legal too, but one without any "/" has no parent.
//
// Nothing is normalised: "." and ".." and doubled slashes are kept, and the path is the text that
// was given, less its trailing slashes. It ends at its first NUL.
//
// Error handling: EmptyFileLocationError, RootHasNoParent and InvalidFileLocation, as told below;
// std::length_error for a path of 4 GiB and more.
class FileLocation {
public:
    FileLocation() { inside[0] = '\0'; }
    FileLocation(FileLocation const& other);
    FileLocation& operator=(FileLocation const& other);
    ~FileLocation() { Release(); }

    // Replaces the path by `path`, less all trailing slashes as long as one byte remains: "///"
    // gives the root. Length 0 gives the empty location. `path` may be a part of this path.
    //
    // Deliberate: with Text() itself as `path` nothing changes, whatever `pathLength` is. So this
    // never truncates the path in place.
    void SetFullPathName(char const* path, unsigned int pathLength);

    // Replaces the path by `name`, less its trailing slashes, below `parent`. `name` may hold
    // several components, and none is validated; an empty one gives a copy of `parent`. Both may be
    // parts of this path. Throws EmptyFileLocationError if `parent` is empty.
    //
    // Deliberate: a "/" is put between the two unless `name` begins with one, and nobody looks at
    // the end of `parent`. So the child x of the root is "//x", whose parent is the root again.
    void Set(FileLocation const& parent, ConstData const& name);

    // Set(*this, path) in a new location. REQUIRES: `path` is not null.
    FileLocation Relative(char const* path) const;

    // All in front of the last "/" and of the slashes before it; the root, if that is the first
    // byte. Throws EmptyFileLocationError if the location is empty; RootHasNoParent for the root,
    // and InvalidFileLocation for a path without a "/", each with the path as its name.
    FileLocation Parent() const;

    // What follows the last "/", through FileName::Set and with its exceptions: the root has no
    // name. Empty for an empty location.
    FileName Name() const;

    // Throws EmptyFileLocationError if the location is empty.
    bool IsRoot() const;

    // Whether the system forbids this process to write there: access(2) fails with EACCES or EROFS.
    // Any other failure goes to ThrowFileError, and EmptyFileLocationError if the location is
    // empty. Defined with the operations on files.
    bool IsReadOnly() const;

    // NUL-terminated; owned by the location, until it is changed. The bytes end at the first NUL.
    char const* Text() const { return text; }
    ConstData Bytes() const { return ConstData(text); } // GCOVR_EXCL_BR_LINE: no throw
    bool IsEmpty() const { return *text == '\0'; }

    // The same bytes as Bytes. See files/EncodedNames.h.
    UStringRef<Local8Bit> Local8BitPath() const;

    // This is one more than the path has bytes where Set got a name that begins with a
    // "/", until the location is copied: a copy measures the path anew. Use Bytes to measure it.
    unsigned int StoredLength() const { return length; }

private:
    static constexpr unsigned int insideSize = 128;

    void Adopt(char* block, unsigned int newLength);
    void Release();

    char* text = inside;
    char inside[insideSize];
    unsigned int length = 0;
};

// What Parent keeps of a path, as a part of that path, so that a climb of many steps copies
// nothing. Throws as Parent does.
ConstData ParentPath(ConstData path);

// See the portable form.
char const* MakeFileLocationWithWildcard(char const* pattern, FileLocation& location);

} // namespace UnixPlatform

// Splits `pattern` in front of its last component, if that holds a "*" or a "?", and yields the
// pointer to the component; otherwise the directory part is all of `pattern`, and the result is
// null. The directory part takes its "/" along; it is empty if there is none. A wildcard further
// left makes no difference. Throws EmptyFileLocationError if `pattern` is null or empty.
char const* MakeFileLocationWithWildcardUnix(char const* pattern, ConstData& directoryPart);
