// Operations on files that are tried up to eight times, with growing pauses.
//
// The pauses between the attempts are 16, 32, 64, 128, 256, 512 and 1,024 ms: a permanent failure
// takes 2,032 ms, and then the exception of the last attempt reaches the caller.
//
// Deliberate: every exception leads to another attempt, that of a missing file too. Only
// EmptyFileLocationError ends the attempts at once, also one that the log throws. The two members
// named at the end of this header retry even that.
#pragma once

#include "files/CreatingInfo.h"

class FileLocation;

// Told how an operation ended that did not succeed at its first attempt. This class does nothing: a
// plain object of it is how a caller says that it wants no log.
//
// `first` and `second` are the operation's locations, `second` null where there is one only; they
// are valid for the call. An exception of LogRetryFailure reaches the caller in place of the
// operation's.
// Deliberate: one of LogRetrySuccess counts as a failed attempt, and the operation runs once more.
//
// No virtual destructor. Logs live on the stack; none is deleted through this class.
class FileRetryLog {
public:
    // The operation has succeeded, at the attempt `attempts`, which is above 1.
    virtual void LogRetrySuccess(char const* operation, FileLocation const* first,
                                 FileLocation const* second, unsigned int attempts) const;

    // The operation has failed for good, after 8 attempts.
    virtual void LogRetryFailure(char const* operation, FileLocation const* first,
                                 FileLocation const* second, unsigned int attempts) const;
};

// The loop, for each shape of arguments. `name` is what the log is told.
void RunWithRetry(void (*operation)(FileLocation const&), char const* name,
                  FileLocation const& location, FileRetryLog const& log);
void RunWithRetry(void (*operation)(FileLocation const&, DirectoryCreatingInfo const&),
                  char const* name, FileLocation const& location, DirectoryCreatingInfo const& info,
                  FileRetryLog const& log);
void RunWithRetry(void (*operation)(FileLocation const&, FileLocation const&), char const* name,
                  FileLocation const& from, FileLocation const& to, FileRetryLog const& log);

// The operations of FileOperations.h under that loop.
void CreateFileWithRetry(FileLocation const& location, FileCreatingInfo const& info,
                         FileRetryLog const& log);
void CreateDirectoryWithRetry(FileLocation const& location, DirectoryCreatingInfo const& info,
                              FileRetryLog const& log);

// The second form gives the directory the permissions 0777, less the umask. Deliberate: the first
// one's name in the log is "ForceDirectoryExistenceWithInfo".
void ForceDirectoryExistenceWithInfoWithRetry(FileLocation const& location,
                                              DirectoryCreatingInfo const& info,
                                              FileRetryLog const& log);
void ForceDirectoryExistenceWithRetry(FileLocation const& location, FileRetryLog const& log);

void CopyFileWithRetry(FileLocation const& from, FileLocation const& to, FileRetryLog const& log);
void ForceCopyFileWithRetry(FileLocation const& from, FileLocation const& to,
                            FileRetryLog const& log);

// A move that the system refuses returns like one that succeeded (FileOperations.h), so
// it is not tried again.
void MoveFileWithRetry(FileLocation const& from, FileLocation const& to, FileRetryLog const& log);
void ForceMoveFileWithRetry(FileLocation const& from, FileLocation const& to,
                            FileRetryLog const& log);

void DeleteFileWithRetry(FileLocation const& location, FileRetryLog const& log);
void DeleteDirectoryWithRetry(FileLocation const& location, FileRetryLog const& log);
void ForceNonexistenceWithRetry(FileLocation const& location, FileRetryLog const& log);

// Two more of the family are members and declared with their classes:
// FileWritingPath::FlushOnBrokenFilesystemsWithRetry and FileItem::SetModificationTimeWithRetry. In
// these, nothing ends the attempts early.
