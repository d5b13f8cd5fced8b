#include "files/unix/FileLocation.h"

#include <cstddef>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string_view>

#include "files/FileErrors.h"
#include "files/FileLocation.h"

namespace UnixPlatform {

namespace {

char const* Characters(ConstData data) { return reinterpret_cast<char const*>(data.begin); }

// Returns the path without its trailing slashes, but with at least `least` bytes.
ConstData WithoutTrailingSlashes(ConstData path, std::size_t least) {
    while (path.Length() > least && path.end[-1] == '/')
        --path.end;
    return path;
}

bool IsRootPath(ConstData path) { return path == "/"_bytes; }

} // namespace

FileLocation::FileLocation(FileLocation const& other) : FileLocation() { *this = other; }

// cppcheck-suppress operatorEqVarError ; `inside` is unused if the text is long
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): SetFullPathName accepts its own text
FileLocation& FileLocation::operator=(FileLocation const& other) {
    SetFullPathName(other.text, static_cast<unsigned int>(std::strlen(other.text)));
    return *this;
}

void FileLocation::Release() {
    if (text != inside)
        delete[] text; // GCOVR_EXCL_BR_LINE: never null
    text = inside;
    text[0] = '\0';
    length = 0;
}

// Takes ownership of `block`, which holds the new text, unless it is `inside`.
void FileLocation::Adopt(char* block, unsigned int newLength) {
    static_assert(sizeof(FileLocation) == 144 && insideSize == 128,
                  "a pointer, 128 bytes inside, and the length");
    if (text != inside)
        delete[] text; // GCOVR_EXCL_BR_LINE: never null
    text = block;
    length = newLength;
}

void FileLocation::SetFullPathName(char const* path, unsigned int pathLength) {
    if (path == text)
        return;
    ConstData const kept = WithoutTrailingSlashes(ConstData(path, pathLength), 1);
    std::size_t const count = kept.Length();
    char* const target = count < insideSize ? inside : new char[count + 1];
    if (count != 0)
        std::memmove(target, path, count);
    target[count] = '\0';
    Adopt(target, static_cast<unsigned int>(count));
}

void FileLocation::Set(FileLocation const& parent, ConstData const& name) {
    if (parent.IsEmpty())
        throw EmptyFileLocationError(0);
    ConstData const base = parent.Bytes();
    if (name.IsEmpty()) {
        SetFullPathName(Characters(base), static_cast<unsigned int>(base.Length()));
        return;
    }
    ConstData const tail = WithoutTrailingSlashes(name, 0);
    std::size_t const stored = parent.length + tail.Length() + 1;
    if (stored > std::numeric_limits<unsigned int>::max())
        throw std::length_error("FileLocation");

    char* const target = stored < insideSize ? inside : new char[stored + 1];
    char* const tailStart = target + base.Length() + (name[0] == '/' ? 0 : 1);
    // Moves the tail first: if both arguments are parts of this path, the base is not overwritten.
    if (!tail.IsEmpty())
        std::memmove(tailStart, tail.begin, tail.Length());
    tailStart[tail.Length()] = '\0';
    std::memmove(target, base.begin, base.Length());
    if (tailStart != target + base.Length())
        tailStart[-1] = '/';
    Adopt(target, static_cast<unsigned int>(stored));
}

FileLocation FileLocation::Relative(char const* path) const {
    FileLocation result;
    result.Set(*this, ConstData(path));
    return result;
}

FileLocation FileLocation::Parent() const {
    ConstData const path = ParentPath(Bytes());
    FileLocation result;
    result.SetFullPathName(Characters(path), static_cast<unsigned int>(path.Length()));
    return result;
}

FileName FileLocation::Name() const {
    if (IsEmpty())
        return FileName();
    char const* const slash = std::strrchr(text, '/');
    return FileName(slash == nullptr ? text : slash + 1);
}

bool FileLocation::IsRoot() const {
    if (IsEmpty())
        throw EmptyFileLocationError(0);
    return IsRootPath(Bytes());
}

ConstData ParentPath(ConstData path) {
    if (path.IsEmpty())
        throw EmptyFileLocationError(0);
    if (IsRootPath(path))
        throw RootHasNoParent(path, 0);
    std::size_t const slash = path.View().rfind('/');
    if (slash == std::string_view::npos)
        throw InvalidFileLocation(path, 0);
    return slash == 0 ? ConstData(path.begin, 1)
                      : WithoutTrailingSlashes(ConstData(path.begin, slash), 1);
}

char const* MakeFileLocationWithWildcard(char const* pattern, FileLocation& location) {
    ConstData directory;
    char const* const wildcard = MakeFileLocationWithWildcardUnix(pattern, directory);
    location = ::MakeFileLocation(directory);
    return wildcard;
}

} // namespace UnixPlatform

char const* MakeFileLocationWithWildcardUnix(char const* pattern, ConstData& directoryPart) {
    if (pattern == nullptr || *pattern == '\0')
        throw EmptyFileLocationError(0);
    char const* const slash = std::strrchr(pattern, '/');
    char const* const component = slash == nullptr ? pattern : slash + 1;
    if (std::strpbrk(component, "*?") == nullptr) {
        directoryPart = ConstData(pattern);
        return nullptr;
    }
    directoryPart = ConstData(pattern, component);
    return component;
}
