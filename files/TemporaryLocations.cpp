#include "files/TemporaryLocations.h"

#include "files/FileLocation.h"
#include "files/FileOperations.h"
#include "files/FileTrees.h"
#include "files/unix/TemporaryLocations.h"
#include "files/unix/UnixFileInfo.h"

namespace {

constexpr char const* freeNamePrefix = "temp";

FileLocation DirectoryFor(FileLocation const& hint) {
    if (UnixPlatform::UnixFileInfo(hint).IsDirectory())
        return hint;
    return FileLocation(hint.Parent());
}

FileLocation FreeNameIn(FileLocation const& directory) {
    FileLocation location = CreateUniqueFileLocation(directory, freeNamePrefix);
    ForceNonexistence(location);
    return location;
}

} // namespace

FileLocation TemporaryFileDirLocation() { return UnixPlatform::TemporaryFileDirLocation(); }

FileLocation UISessionDefaultDirectory(std::string const& user) {
    return UnixPlatform::UISessionDefaultDirectory(user);
}

FileLocation CreateUniqueFileLocation(FileLocation const& directory, char const* prefix) {
    directory.RequireNonEmpty();
    return UnixPlatform::CreateUniqueFileLocation(directory, prefix);
}

FileLocation CreateUniqueDirLocation(FileLocation const& directory, char const* prefix) {
    directory.RequireNonEmpty();
    return UnixPlatform::CreateUniqueDirLocation(directory, prefix);
}

FileLocation CreateUniqueFileLocation(char const* prefix) {
    FileLocation const directory = TemporaryFileDirLocation();
    CreateDirectoryTree(directory);
    return CreateUniqueFileLocation(directory, prefix);
}

FileLocation CreateUniqueFileLocationWithHint(FileLocation const& hint, char const* prefix) {
    return CreateUniqueFileLocation(DirectoryFor(hint), prefix);
}

FileLocation LocationForTemporaryFile() { return FreeNameIn(TemporaryFileDirLocation()); }

FileLocation LocationForTemporaryFile(FileLocation const& hint) {
    hint.RequireNonEmpty();
    return FreeNameIn(DirectoryFor(hint));
}

bool MakeTemporaryFileLocation(FileLocation& result, char const* prefix) {
    try {
        result = CreateUniqueFileLocation(prefix == nullptr ? "tarvik" : prefix);
        return true;
    } catch (...) {
        return false;
    }
}
