// The work behind files/TemporaryLocations.h.
//
// The contract stands there. What differs: the directory of a unique name is not tested beforehand.
#pragma once

#include <string>

namespace UnixPlatform {

class FileLocation;

FileLocation TemporaryFileDirLocation();
FileLocation UISessionDefaultDirectory(std::string const& user);

// An empty directory means the root, where few may create anything: the name then is
// "/", the prefix and the six characters.
FileLocation CreateUniqueFileLocation(FileLocation const& directory, char const* prefix);
FileLocation CreateUniqueDirLocation(FileLocation const& directory, char const* prefix);

} // namespace UnixPlatform
