#include "files/unix/TemporaryLocations.h"

#include <cstddef>
#include <cstring>

#include <stdlib.h>
#include <unistd.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileTrees.h"

namespace UnixPlatform {

namespace {

// The values are also the codes of the exceptions.
enum class Kind : int { file = 0, directory = 1 };

constexpr char uniquePart[] = "/XXXXXX";
constexpr std::size_t bufferSize = 4096;

// The maximum length of directory and prefix together. Longer text is rejected, not truncated.
constexpr std::size_t maxStemLength = 4087;
static_assert(maxStemLength + sizeof(uniquePart) <= bufferSize,
              "the longest name fits with its NUL");

char* Append(char* target, ConstData text) {
    if (!text.IsEmpty())
        std::memcpy(target, text.begin, text.Length());
    return target + text.Length();
}

// Creates the file or directory, and replaces the last six bytes of `name` by its unique suffix.
// Returns false if the system call fails.
bool Create(char* name, Kind kind) {
    if (kind == Kind::directory)
        return mkdtemp(name) != nullptr;
    int const descriptor = mkstemp(name);
    if (descriptor < 0)
        return false;
    close(descriptor);
    return true;
}

FileLocation CreateUniqueLocation(FileLocation const& directory, char const* prefix, Kind kind) {
    ConstData const parent = directory.Bytes();
    ConstData const start = prefix == nullptr ? ConstData() : ConstData(prefix);
    if (parent.Length() > maxStemLength || start.Length() > maxStemLength - parent.Length())
        throw CreateUniqueFileLocationFailed(static_cast<int>(kind));

    char name[bufferSize];
    char* end = Append(name, parent);
    end = Append(end, ConstData(uniquePart, 1));
    end = Append(end, start);
    end = Append(end, ConstData(uniquePart + 1));
    *end = '\0';
    if (!Create(name, kind))
        throw CreateUniqueFileLocationFailed(static_cast<int>(kind));

    FileLocation location;
    location.SetFullPathName(name, static_cast<unsigned int>(end - name));
    return location;
}

} // namespace

FileLocation TemporaryFileDirLocation() {
    static FileLocation const location = [] {
        ::FileLocation directory = MakeFileLocation("/tmp");
        CreateDirectoryTree(directory);
        return directory;
    }();
    return location;
}

FileLocation UISessionDefaultDirectory(std::string const& user) {
    std::string path = "Veska/ClientUI";
    if (!user.empty())
        path += "/." + user;
    return TemporaryFileDirLocation().Relative(path.c_str());
}

FileLocation CreateUniqueFileLocation(FileLocation const& directory, char const* prefix) {
    return CreateUniqueLocation(directory, prefix, Kind::file);
}

FileLocation CreateUniqueDirLocation(FileLocation const& directory, char const* prefix) {
    return CreateUniqueLocation(directory, prefix, Kind::directory);
}

} // namespace UnixPlatform
