#include "files/FileLocation.h"

#include <cstddef>
#include <limits>
#include <stdexcept>

#include "data/Ascii.h"
#include "files/FileErrors.h"

namespace {

static_assert(sizeof(FileLocation) == sizeof(UnixPlatform::FileLocation),
              "the two levels have the same layout");

bool EqualPaths(ConstData left, ConstData right) { return Ascii::EqualIgnoringCase(left, right); }

// Returns the value of decimal digits without checking them.
unsigned int ParseDigitsUnchecked(ConstData digits) {
    unsigned int value = 0;
    for (unsigned char const* digit = digits.begin; digit != digits.end; ++digit)
        value = value * 10 + (*digit - unsigned{'0'});
    return value;
}

} // namespace

FileLocation::FileLocation(UnixPlatform::FileLocation const& location)
    : UnixPlatform::FileLocation(location) {}

FileLocation::FileLocation(FileLocation const& parent, char const* name) {
    if (name == nullptr)
        *this = parent;
    else
        Set(parent, FileName(name).Bytes());
}

FileLocation::FileLocation(FileLocation const& parent, ConstData name)
    : FileLocation(parent, FileName(name)) {}

FileLocation::FileLocation(FileLocation const& parent, FileName const& name) {
    Set(parent, name.Bytes());
}

FileLocation FileLocation::Child(FileName const& name) const { return FileLocation(*this, name); }

FileLocation FileLocation::Sibling(FileName const& name) const {
    return FileLocation(Parent(), name);
}

void FileLocation::RequireNonEmpty() const {
    if (IsEmpty())
        throw EmptyFileLocationError(0);
}

FileLocation MakeFileLocation(char const* path) {
    return MakeFileLocation(path == nullptr ? ConstData() : ConstData(path));
}

FileLocation MakeFileLocation(ConstData path) {
    if (path.Length() > std::numeric_limits<unsigned int>::max())
        throw std::length_error("FileLocation");
    FileLocation location;
    location.SetFullPathName(reinterpret_cast<char const*>(path.begin),
                             static_cast<unsigned int>(path.Length()));
    return location;
}

FileLocation MakeRelativeFileLocation(FileLocation const& base, char const* path) {
    return base.Relative(path);
}

char const* MakeFileLocationWithWildcard(char const* pattern, FileLocation& location) {
    UnixPlatform::FileLocation directory;
    char const* const wildcard = UnixPlatform::MakeFileLocationWithWildcard(pattern, directory);
    location = directory;
    return wildcard;
}

bool IsAbsolutePath(char const* path) { return path != nullptr && path[0] == '/'; }

bool EqualOrDescendant(FileLocation const& ancestor, FileLocation const& candidate) {
    ancestor.RequireNonEmpty();
    candidate.RequireNonEmpty();
    ConstData path = candidate.Bytes();
    while (!EqualPaths(path, ancestor.Bytes())) {
        if (path == "/"_bytes)
            return false;
        path = UnixPlatform::ParentPath(path);
    }
    return true;
}

bool IsDescendant(FileLocation const& ancestor, FileLocation const& candidate) {
    if (!ancestor.IsEmpty() && EqualPaths(ancestor.Bytes(), candidate.Bytes()))
        return false;
    return EqualOrDescendant(ancestor, candidate);
}

void GetDateFromNameInFileLocation(FileLocation const& location, unsigned int& year,
                                   unsigned int& month, unsigned int& day) {
    FileName const name = location.Name();
    if (name.Length() < 9)
        throw IllegalFileName();
    char const* const digits = name.Text();
    year = ParseDigitsUnchecked(ConstData(digits, 4));
    month = ParseDigitsUnchecked(ConstData(digits + 4, 2));
    day = ParseDigitsUnchecked(ConstData(digits + 6, 2));
}
