// The implementation of files/TemporaryLocations.h, whose contract applies, except that an empty
// directory is not rejected.
#pragma once

#include <string>

namespace UnixPlatform {

class FileLocation;

FileLocation TemporaryFileDirLocation();
FileLocation UISessionDefaultDirectory(std::string const& user);

// An empty directory means the root, where few users may create files. The path is then "/", the
// prefix and the six characters.
FileLocation CreateUniqueFileLocation(FileLocation const& directory, char const* prefix);
FileLocation CreateUniqueDirLocation(FileLocation const& directory, char const* prefix);

} // namespace UnixPlatform
