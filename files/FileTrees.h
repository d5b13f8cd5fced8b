// Operations on whole directory trees.
//
// Trees are walked by FileLoop, in its order and with its strictness: a broken link stops the walk
// with the error of the system's stat, normally FileNotFoundError, and what came before it in the
// order is done by then. A walk needs no stack as deep as the tree. There is no clean-up after a
// failure.
//
// Error handling: EmptyFileLocationError for an empty location, and otherwise as the operations of
// FileOperations.h throw.
#pragma once

class FileLocation;

// Creates the directory and all parents that are missing, with the permissions 0777 less the umask.
// Throws FileFoundError, with its location, if anything but a directory stands on the way. A
// relative path that meets no directory on its way up ends in InvalidFileLocation.
void CreateDirectoryTree(FileLocation const& location);

// Copies all entries of `from` to `to`, whose tree is created where it is missing: directories by
// their contents, and anything else by CopyFileWithRetry, which a link to a regular file passes as
// a copy of its target. Throws DirectoryNotFoundError if `from` is no directory, and InvalidStats,
// without a name, if it vanishes meanwhile.
//
// What can't be copied ends the copy after its retries: a file that exists at `to` (nothing is
// overwritten), a socket, a device, a FIFO. A full disk is reported as FileExistsError: the first
// attempt leaves a part of the file, and the next ones find it there.
//
// A `to` inside of `from` is found by the walk and copied into itself, until the system refuses the
// length of the path.
//
// A symbolic link to a directory is skipped in silence. And a directory that can't be
// listed, be it for lack of memory, is copied as if it were empty.
void CopyDirectoryContents(FileLocation const& from, FileLocation const& to);

// Remove a directory with all that is in it, or only what is in it. Throw DirectoryNotFoundError if
// nothing stands there; a regular file at `location` is not removed, and the first form throws for
// it too.
//
// Deliberate: a symbolic link to a directory counts as one. What is in its target is removed, and
// then the removal of the link itself throws.
void DeleteRecursive(FileLocation const& location);
void DeleteContents(FileLocation const& location);

// The same, where nothing is no error.
void ForceDeleteRecursive(FileLocation const& location);
void ForceDeleteContents(FileLocation const& location);
