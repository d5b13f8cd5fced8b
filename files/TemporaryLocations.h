// The temporary directory, a user's session directory, and files and directories with unique names.
//
// mkstemp(3) and mkdtemp(3) create the entries atomically, so concurrent threads and processes
// never receive the same name, except from LocationForTemporaryFile.
#pragma once

#include <string>

class FileLocation;

// Returns "/tmp", even if TMPDIR is set. The first call in the process creates the directory if
// it is missing, and throws like CreateDirectoryTree; after an exception, the next call tries
// again.
FileLocation TemporaryFileDirLocation();

// Returns "Veska/ClientUI" below the temporary directory, or "Veska/ClientUI/.<user>" if `user` is
// not empty. Does not create it. The user's name is not validated, and ends at its first NUL.
// Throws like TemporaryFileDirLocation.
FileLocation UISessionDefaultDirectory(std::string const& user);

// Create an empty file (mode 0600) or directory (0700) and return its location. The caller must
// remove it. The name is `prefix` followed by six random characters, or only these if `prefix` is
// null. A "/" in the prefix is accepted.
//
// Throw EmptyFileLocationError if `directory` is empty. Throw CreateUniqueFileLocationFailed,
// without a name, if the creation fails or if directory and prefix together have 4,088 bytes or
// more. The code of CreateUniqueFileLocationFailed is 0 for a file and 1 for a directory, not an
// error number. If std::bad_alloc is thrown after the creation, the file or directory remains.
FileLocation CreateUniqueFileLocation(FileLocation const& directory, char const* prefix);
FileLocation CreateUniqueDirLocation(FileLocation const& directory, char const* prefix);

// Creates the file in the temporary directory. Creates that directory first if it is missing, with
// the exceptions of CreateDirectoryTree.
FileLocation CreateUniqueFileLocation(char const* prefix);

// Creates the file in `hint` if that is a directory or a link to one, otherwise in its Parent, with
// the exceptions of Parent.
FileLocation CreateUniqueFileLocationWithHint(FileLocation const& hint, char const* prefix);

// Returns a location where nothing exists, with a name that begins with "temp", in the temporary
// directory or in the directory that CreateUniqueFileLocationWithHint selects. The function creates
// the file and removes it again. Throws like the functions above and ForceNonexistence, and
// EmptyFileLocationError if `hint` is empty.
//
// Another process can take the name before the caller does. A caller that can use an empty file
// should call the functions above instead.
FileLocation LocationForTemporaryFile();
FileLocation LocationForTemporaryFile(FileLocation const& hint);

// Stores the result of CreateUniqueFileLocation(prefix) in `result`, with "tarvik" in place of a
// null prefix. Returns true on success. Never throws: after any failure, returns false and leaves
// `result` unchanged.
bool MakeTemporaryFileLocation(FileLocation& result, char const* prefix);
