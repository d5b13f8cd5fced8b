// Operations on files with up to eight attempts and exponential backoff.
//
// The pauses between attempts are 16, 32, 64, 128, 256, 512 and 1,024 ms. A permanent failure takes
// 2,032 ms; then the exception of the last attempt reaches the caller.
//
// Deliberate: every exception leads to a retry, even FileNotFoundError. Only EmptyFileLocationError
// ends the attempts at once, even if the log throws it. The two members named at the end of this
// header retry after that exception, too.
#pragma once

#include "files/CreatingInfo.h"

class FileLocation;

// Receives the result of each operation that did not succeed at its first attempt. This class does
// nothing; pass an object of it to log nothing.
//
// `first` and `second` are the locations of the operation, valid during the call. `second` is null
// if there is only one. An exception of LogRetryFailure replaces the exception of the operation.
//
// Deliberate: an exception of LogRetrySuccess counts as a failed attempt, so the operation is run
// again.
//
// Deliberate: no virtual destructor. Logs are on the stack and never deleted through this class.
class FileRetryLog {
public:
    // The operation has succeeded at the attempt `attempts`, which is greater than 1.
    virtual void LogRetrySuccess(char const* operation, FileLocation const* first,
                                 FileLocation const* second, unsigned int attempts) const;

    // The operation has failed at all 8 attempts.
    virtual void LogRetryFailure(char const* operation, FileLocation const* first,
                                 FileLocation const* second, unsigned int attempts) const;
};

// Run `operation` with retries. The log receives `name`.
void RunWithRetry(void (*operation)(FileLocation const&), char const* name,
                  FileLocation const& location, FileRetryLog const& log);
void RunWithRetry(void (*operation)(FileLocation const&, DirectoryCreatingInfo const&),
                  char const* name, FileLocation const& location, DirectoryCreatingInfo const& info,
                  FileRetryLog const& log);
void RunWithRetry(void (*operation)(FileLocation const&, FileLocation const&), char const* name,
                  FileLocation const& from, FileLocation const& to, FileRetryLog const& log);

// The operations of FileOperations.h, with retries.
void CreateFileWithRetry(FileLocation const& location, FileCreatingInfo const& info,
                         FileRetryLog const& log);
void CreateDirectoryWithRetry(FileLocation const& location, DirectoryCreatingInfo const& info,
                              FileRetryLog const& log);

// The second function creates the directory with the permissions 0777 without the umask.
//
// Deliberate: the first function passes the name "ForceDirectoryExistenceWithInfo" to the log.
void ForceDirectoryExistenceWithInfoWithRetry(FileLocation const& location,
                                              DirectoryCreatingInfo const& info,
                                              FileRetryLog const& log);
void ForceDirectoryExistenceWithRetry(FileLocation const& location, FileRetryLog const& log);

void CopyFileWithRetry(FileLocation const& from, FileLocation const& to, FileRetryLog const& log);
void ForceCopyFileWithRetry(FileLocation const& from, FileLocation const& to,
                            FileRetryLog const& log);

// If the system refuses a move, MoveFile returns normally (see FileOperations.h), so there is no
// retry.
void MoveFileWithRetry(FileLocation const& from, FileLocation const& to, FileRetryLog const& log);
void ForceMoveFileWithRetry(FileLocation const& from, FileLocation const& to,
                            FileRetryLog const& log);

void DeleteFileWithRetry(FileLocation const& location, FileRetryLog const& log);
void DeleteDirectoryWithRetry(FileLocation const& location, FileRetryLog const& log);
void ForceNonexistenceWithRetry(FileLocation const& location, FileRetryLog const& log);

// Two more functions are members and declared with their classes:
// FileWritingPath::FlushOnBrokenFilesystemsWithRetry and FileItem::SetModificationTimeWithRetry.
// They retry after every exception.
