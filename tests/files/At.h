// Locations from paths, for tests.
#pragma once

#include <string>

#include "files/FileLocation.h"

inline FileLocation At(std::string const& path) { return MakeFileLocation(path.c_str()); }
