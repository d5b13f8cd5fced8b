// The temporary directory, a user's session directory, and files and directories of unique names.
//
// Names are made unique by the system's own atomic creation, mkstemp(3) and mkdtemp(3), so that
// threads and processes that make them at the same time never get the same one.
#pragma once

#include <string>

class FileLocation;

// "/tmp", whatever the environment says. The first call of the process creates the directory if it
// is missing, and fails as CreateDirectoryTree does; then the next call tries again.
FileLocation TemporaryFileDirLocation();

// "Veska/ClientUI" below the temporary directory, or "Veska/ClientUI/.<user>" if `user` is not
// empty. It is not created. The user's name is not validated, and ends at its first NUL.
FileLocation UISessionDefaultDirectory(std::string const& user);

// Create an empty file (mode 0600) or directory (0700), and yield its location; the caller owns
// what stands there. Its name is `prefix` and six characters of the system's choice, or these alone
// if `prefix` is null. A "/" in the prefix is not refused.
//
// Throw EmptyFileLocationError if `directory` is empty. Whatever else prevents the creation is a
// CreateUniqueFileLocationFailed without a name. What was created stays, even where memory for its
// location is missing then (std::bad_alloc).
//
// Its code tells the kind, 0 for a file and 1 for a directory, and not what the system
// said. Directory and prefix that have 4,088 bytes or more together fail in the same way, without
// asking the system.
FileLocation CreateUniqueFileLocation(FileLocation const& directory, char const* prefix);
FileLocation CreateUniqueDirLocation(FileLocation const& directory, char const* prefix);

// The file in the temporary directory, which is created first if it has gone missing.
FileLocation CreateUniqueFileLocation(char const* prefix);

// The file in `hint`, if that is a directory (or a link to one), and otherwise beside it, in its
// Parent, with the exceptions of that.
FileLocation CreateUniqueFileLocationWithHint(FileLocation const& hint, char const* prefix);

// A name that begins with "temp" and is free: the file was created and removed again. In the
// temporary directory, or where CreateUniqueFileLocationWithHint puts it. Throws
// EmptyFileLocationError if `hint` is empty.
//
// Nothing keeps others from taking the name before the caller does. A caller that can
// use an empty file is better served by the functions above.
FileLocation LocationForTemporaryFile();
FileLocation LocationForTemporaryFile(FileLocation const& hint);

// CreateUniqueFileLocation(prefix), with "tarvik" in place of a null prefix. Throws nothing: false,
// with `result` as it was, if there is no such file to be had.
bool MakeTemporaryFileLocation(FileLocation& result, char const* prefix);
