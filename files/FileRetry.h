// Operations on files with up to seven retries and exponential backoff.
//
// The backoff is 16, 32, 64, 128, 256, 512 and 1,024 ms, in total 2,032 ms, less after a signal.
// The exception of the last attempt then propagates to the caller.
//
// Deliberate: every exception leads to a retry, even FileNotFoundError. The exchange depends on the
// resulting duration of a failed write (docs/exchange.md). Only EmptyFileLocationError propagates
// at once, even if the log throws it. The two members named at the end of this header retry after
// that exception, too.
#pragma once

#include "files/CreatingInfo.h"

class FileLocation;

// Receives the result of each operation that succeeds after a retry or fails at all attempts. This
// class does nothing; pass an object of it to log nothing.
//
// `first` and `second` are the locations of the operation, valid during the call. `second` is null
// if there is only one. An exception of LogRetryFailure replaces the exception of the operation.
//
// Deliberate: an exception of LogRetrySuccess counts as a failed attempt, because a success after a
// retry must be logged. So the operation is run again, except after the last attempt.
//
// Deliberate: no virtual destructor. Logs are on the stack and never deleted through this class.
class FileRetryLog {
public:
    // Called if the operation has succeeded at attempt number `attempts`, which is 2 to 8.
    virtual void LogRetrySuccess(char const* operation, FileLocation const* first,
                                 FileLocation const* second, unsigned int attempts) const;

    // Called if the operation has failed at all attempts; `attempts` is 8.
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

// Operations of FileOperations.h, with retries. Nothing is undone between the attempts. So if
// CreateFile, CopyFile or MoveFile fails after it has created the target, its retries fail because
// the target exists. The final exception is then FileFoundError or FileExistsError, not the cause.
void CreateFileWithRetry(FileLocation const& location, FileCreatingInfo const& info,
                         FileRetryLog const& log);
void CreateDirectoryWithRetry(FileLocation const& location, DirectoryCreatingInfo const& info,
                              FileRetryLog const& log);

// The second function creates the directory with the permissions 0777 less the umask.
//
// Deliberate: the first function passes the name "ForceDirectoryExistenceWithInfo" to the log, so
// that the log entries of the two functions differ.
void ForceDirectoryExistenceWithInfoWithRetry(FileLocation const& location,
                                              DirectoryCreatingInfo const& info,
                                              FileRetryLog const& log);
void ForceDirectoryExistenceWithRetry(FileLocation const& location, FileRetryLog const& log);

void CopyFileWithRetry(FileLocation const& from, FileLocation const& to, FileRetryLog const& log);
void ForceCopyFileWithRetry(FileLocation const& from, FileLocation const& to,
                            FileRetryLog const& log);

// MoveFile and ForceMoveFile do not report a failed rename(2), so a failed rename is not retried.
// See FileOperations.h.
void MoveFileWithRetry(FileLocation const& from, FileLocation const& to, FileRetryLog const& log);
void ForceMoveFileWithRetry(FileLocation const& from, FileLocation const& to,
                            FileRetryLog const& log);

void DeleteFileWithRetry(FileLocation const& location, FileRetryLog const& log);
void DeleteDirectoryWithRetry(FileLocation const& location, FileRetryLog const& log);
void ForceNonexistenceWithRetry(FileLocation const& location, FileRetryLog const& log);

// Two more functions with retries are members, and declared with their classes:
// FileWritingPath::FlushOnBrokenFilesystemsWithRetry and FileItem::SetModificationTimeWithRetry.
// They retry after every exception.
