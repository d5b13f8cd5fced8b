// Whole-file operations: create, delete, copy and move, and variants that first remove the target.
//
// Most operations examine a location and then act; another process can change the location in
// between. The examination follows symbolic links; a dangling link is one whose target cannot be
// reached. A location for which lstat(2) fails, for whatever reason, counts as one where nothing
// exists. Removing a symbolic link removes the link. Nothing is undone after a failure.
//
// Error handling: all throw EmptyFileLocationError, without a name, for an empty location, unless
// stated otherwise. A failed system call throws by ThrowFileError (FileErrors.h). Other exceptions
// have the code 0 and name the location. Copies also throw like FileReadingPath, FileReadingLoop,
// FileWritingPath and FileWriter. Moves can throw InvalidStats, without a name, if an entry
// vanishes between two examinations.
//
// See also:
// - FileTrees.h: operations on directory trees
// - FileRetry.h: variants with retries
// - files/unix/FileOperations.h: the platform level
#pragma once

#include "files/CreatingInfo.h"

class FileLocation;

// Creates an empty file, and sets its permissions unless they are the system's default. Throws
// FileFoundError if anything exists there. If setting the permissions fails, the file stays.
void CreateFile(FileLocation const& location, FileCreatingInfo const& info);

// Create a directory. Its permissions are those of `info` or, for the second function, 0777, less
// the umask. Throw DirectoryFoundError if anything exists there.
void CreateDirectory(FileLocation const& location, DirectoryCreatingInfo const& info);
void CreateDirectoryForUserAppAccess(FileLocation const& location);

// Creates the directory if nothing exists there; does nothing if there is a directory. Throws
// FileFoundError for anything else, including a dangling link. Does not create parents.
void ForceDirectoryExistence(FileLocation const& location, DirectoryCreatingInfo const& info);

// Removes the directory entry by unlink(2), whatever its type; the system refuses a directory.
void DeleteFile(FileLocation const& location);

// Removes an empty directory. Throws DirectoryNotFoundError for anything that is not a directory.
// The system refuses a directory that is not empty, and a symbolic link to a directory.
void DeleteDirectory(FileLocation const& location);

// Removes a regular file, a link to one, or an empty directory. Throws like DeleteDirectory for a
// directory with contents and for a link to a directory.
//
// Does nothing, without an error, for these:
// - a location where nothing exists
// - a device, a socket or a FIFO, or a link to one of them
// - a dangling link
void ForceNonexistence(FileLocation const& location);

// Copy a regular file. Throw FileNotFoundError if `from` is not one. CopyFile throws
// FileExistsError if anything exists at `to`; ForceCopyFile first calls ForceNonexistence for it.
// The copy has the permissions and the modification time of a new file, and is not flushed to disk.
// A failed copy leaves the bytes written so far.
//
// For two kinds of file the copy is complete, but the functions throw
// FileReadingLoopEndOfFileError: files that return fewer bytes than their length (most files of
// /sys), and files of unknown length (FileReadingPath::Length). Bytes after a known length are
// not copied: the copy of /proc/self/cmdline, which has the length 0, is empty.
//
// If ForceNonexistence does not remove the entry at `to`, ForceCopyFile throws FileExistsError,
// with the system's code. ForceCopyFile does not detect that `from` and `to` are the same directory
// entry, or that `from` is a link to `to`. The contents of the file are then lost.
void CopyFile(FileLocation const& from, FileLocation const& to);
void ForceCopyFile(FileLocation const& from, FileLocation const& to);

// Renames `from` to `to`. A normal return does not prove that the file has moved: see "Deliberate".
//
// Throws FileNotFoundError if nothing exists at `from`, and FileFoundError if anything exists at
// `to`. The move to another file system depends on `from`:
// - A regular file is copied by CopyFile and then deleted.
// - A directory is copied by CopyDirectoryContents and then deleted by DeleteRecursive.
// - A link to a regular file: the file is copied to `to`, and the link is deleted.
// - A link to a directory: the contents of the target move, and then removing the link throws.
// - Anything else stays where it is, without an error.
//
// A move to another file system loses the permissions and times. If a directory contains a link to
// a directory, the contents of the link's target are deleted but not copied. Removing the link then
// throws. A directory that cannot be listed, even for lack of memory, is copied as an empty one. If
// it can be listed later, its contents are deleted.
//
// Deliberate: callers depend on a normal return if rename(2) fails with an error other than EXDEV.
// Nothing has moved then. A caller that requires the move must examine both locations.
void MoveFile(FileLocation const& from, FileLocation const& to);

// Moves `from` to `to` like MoveFile, after removing an existing `to` by ForceNonexistence. Throws
// FileNotFoundError if nothing exists at `from`. Throws DirectoryFoundError if both exist and only
// one is a regular file, and FileFoundError if ForceNonexistence does not remove `to`. If the move
// fails after the removal, even without an exception, the old entry at `to` is lost.
//
// DirectoryFoundError names `from` if that is a directory, otherwise `to`, whatever its type. The
// function does not detect that `from` and `to` are the same directory entry, or that `from` is a
// link to `to`. The file at `to` is then lost.
void ForceMoveFile(FileLocation const& from, FileLocation const& to);

// Clears the three write permissions, or sets them if `readOnly` is false. Follows a symbolic link.
//
// After setting them, clears all permissions in the umask, even those that the file had before. To
// read the umask, the function changes it for a moment, for the whole process.
void SetFileReadOnly(FileLocation const& location, bool readOnly);

// Returns the bytes that are free on the file system, including those reserved for the superuser.
// Returns -1 if statvfs(3) fails, also for an empty location.
//
// The product of the number of blocks and the block size wraps modulo 2^64. The function returns -1
// if the wrapped product is 2^63 or more.
long long CalculateFreeSpace(FileLocation const& location);

// Does nothing on this platform; an empty location is no error.
void ForceRemoveInvalidFiles(FileLocation const& location, unsigned int kinds);
