// Whole-file operations: create, delete, copy, move, and the forms that first clear the way.
//
// Each asks what stands at a location and then acts; between the two another process can change it.
// A symbolic link counts as what it points at, and a "broken link" is one whose target can't be
// reached. There is no clean-up after a failure: what is done stays done.
//
// Error handling: all throw EmptyFileLocationError for an empty location, but where told. A refusal
// of the operation's own has the code 0 and names the location; what the system refuses goes to
// ThrowFileError (FileErrors.h). Moves throw InvalidStats, without a name, if an entry vanishes
// between two looks.
//
// Operations on trees stand in FileTrees.h, forms with retries in FileRetry.h, and the platform's
// own forms in files/unix/FileOperations.h.
#pragma once

#include "files/CreatingInfo.h"

class FileLocation;

// Creates an empty file, and sets its permissions unless they are the system's default. Throws
// FileFoundError if anything stands there. If the permissions are refused, the file stays.
void CreateFile(FileLocation const& location, FileCreatingInfo const& info);

// Creates a directory, with the permissions less the umask. Throws DirectoryFoundError if anything
// stands there. The second form: 0777.
void CreateDirectory(FileLocation const& location, DirectoryCreatingInfo const& info);
void CreateDirectoryForUserAppAccess(FileLocation const& location);

// Creates the directory if nothing stands there; a directory is left as it is. Throws
// FileFoundError for anything else, a broken link too. Creates no parents.
void ForceDirectoryExistence(FileLocation const& location, DirectoryCreatingInfo const& info);

// Removes the entry by unlink(2), whatever it is; a directory is left to the system's refusal.
void DeleteFile(FileLocation const& location);

// Removes an empty directory. Throws DirectoryNotFoundError for anything that is no directory; one
// that is not empty, and a link to one, is refused by the system.
void DeleteDirectory(FileLocation const& location);

// Removes a regular file or an empty directory. A broken link, a device, a socket and a
// pipe stay, without an error; so does nothing at all.
void ForceNonexistence(FileLocation const& location);

// Copies a regular file. Throws FileNotFoundError if `from` is none, and CopyFile throws
// FileExistsError if anything stands at `to`, where ForceCopyFile first calls ForceNonexistence.
// The copy gets the permissions of a new file and the time of its writing, and is not flushed to
// disk. A failed copy leaves what was written.
//
// A file that gives fewer bytes than the length it claims, as most of /sys do, and one whose length
// nobody knows (FileReadingPath::Length), are copied to their end, where the copy throws
// FileReadingLoopEndOfFileError all the same.
//
// Where ForceNonexistence leaves something, ForceCopyFile ends in FileExistsError, with
// the system's code. And it does not see that `from` and `to` are one file, which is then lost.
void CopyFile(FileLocation const& from, FileLocation const& to);
void ForceCopyFile(FileLocation const& from, FileLocation const& to);

// Renames. A normal return does not prove that the file has moved: see "Deliberate" below.
//
// Throws FileNotFoundError if nothing is at `from` (in the platform's form also for an empty one)
// and FileFoundError if anything is at `to`. To another file system, a regular file is copied and
// then deleted, a directory is copied as a tree and then deleted, and anything else stays where it
// is without an error. A link counts as its target there: a link to a regular file is replaced by
// a copy of that file; of a link to a directory, the content of the target moves, and then the
// removal of the link throws.
//
// Deliberate: any other refusal of rename(2) returns normally, and nothing has moved. A caller that
// has to know examines both locations.
void MoveFile(FileLocation const& from, FileLocation const& to);

// Moves over what stands at `to`, if both are regular files or neither is; a directory at `to` must
// be empty, and what ForceNonexistence leaves there ends in FileFoundError. Throws
// FileNotFoundError if nothing stands at `from`, and DirectoryFoundError if they differ in kind.
//
// That error names `from` if it is a directory, and otherwise `to`, whatever that is.
// And nobody sees that `from` and `to` are one file, which is then lost.
void ForceMoveFile(FileLocation const& from, FileLocation const& to);

// Takes the three write permissions away, or gives them. Follows a link.
//
// Giving them also takes away all that the umask forbids, even what was there before.
// The umask is read by changing it for a moment, for the whole process.
void SetFileReadOnly(FileLocation const& location, bool readOnly);

// Returns the bytes that are free on the file system, including those reserved for the superuser.
// Returns -1 if statvfs(2) fails. An empty location is no error.
//
// Deliberate: blocks and block size are multiplied in 64 bits. A product of 2^63 or more counts as
// a failure, and one of 2^64 or more wraps before that.
long long CalculateFreeSpace(FileLocation const& location);

// Does nothing on this platform; an empty location is no error.
void ForceRemoveInvalidFiles(FileLocation const& location, unsigned int kinds);
