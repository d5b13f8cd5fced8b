// The implementation of files/TemporaryLocations.h, whose contract applies, except that an empty
// location is not rejected.
#pragma once

#include <string>

namespace UnixPlatform {

class FileLocation;

FileLocation TemporaryFileDirLocation();
FileLocation UISessionDefaultDirectory(std::string const& user);

// An empty location means the root directory, where few users may create files. The path is then
// "/", the prefix and the six characters.
FileLocation CreateUniqueFileLocation(FileLocation const& directory, char const* prefix);
FileLocation CreateUniqueDirLocation(FileLocation const& directory, char const* prefix);

} // namespace UnixPlatform
