// Exceptions for failed operations on files.
//
// All classes derive directly from FileIOError and add no data. Unless a class states otherwise,
// the code is the error number of the system call that failed. It is 0 if the library itself
// rejects an operation.
#pragma once

#include <string>

#include "data/ConstData.h"
#include "data/DebuggableException.h"

class FileLocation;
struct FileIOErrorDetails;

// An error number and the names of up to two files. An object is as large as two pointers.
//
// Error handling: construction and assignment allocate and may throw std::bad_alloc.
class FileIOError : public DebuggableException {
public:
    // Names may be empty; a location is stored as its path.
    explicit FileIOError(int code);
    FileIOError(ConstData name, int code);
    FileIOError(ConstData first, ConstData second, int code);
    FileIOError(FileLocation const& where, int code);
    FileIOError(FileLocation const& first, FileLocation const& second, int code);

    // Copies the code and the names, but not the cached message. After an assignment, the next
    // what() returns the new message.
    FileIOError(FileIOError const& other);
    FileIOError& operator=(FileIOError const& other);

    ~FileIOError() override;

    int GetCode() const;

    // Returns the type in the form of DebuggableException::what(), the names that are not empty,
    // and the system's message if the code is not 0:
    //
    //     File error "17FileNotFoundError" on "/x" and "/y": Error: 2: No such file or directory
    std::string MakeErrorMessage() const;

    // Returns the message, valid until the next what() of this object or its destruction. Each call
    // makes it again. Returns only the type name if memory runs out.
    char const* what() const noexcept override;

private:
    FileIOErrorDetails* details;
};

// A file that must exist does not exist, or is not a regular file. Also thrown for ENOENT, for
// example if a parent directory does not exist.
class FileNotFoundError : public FileIOError {
public:
    using FileIOError::FileIOError;
    FileNotFoundError() : FileIOError(0) {}
};
// An entry exists where none, or only a directory, is allowed.
class FileFoundError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// The destination of a copy or of an exclusive creation already exists.
class FileExistsError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// A directory to copy or delete does not exist, or is not a directory. Also thrown for ENOTDIR and
// ENAMETOOLONG.
class DirectoryNotFoundError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// An entry exists at the location of a new directory, or only one of the two locations of
// ForceMoveFile is a regular file.
class DirectoryFoundError : public FileIOError {
public:
    using FileIOError::FileIOError;
};

// The location of a new directory or file is empty. Thrown by UnixPlatform functions only.
class DirectoryCreateFailed : public FileIOError {
public:
    using FileIOError::FileIOError;
};
class FileCreateFailed : public FileIOError {
public:
    using FileIOError::FileIOError;
};

// A location is empty. The exception has no name.
class EmptyFileLocationError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// The parent of a path without "/" was requested.
class InvalidFileLocation : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// The parent of the root was requested.
class RootHasNoParent : public FileIOError {
public:
    using FileIOError::FileIOError;
};

// An entry vanished between two examinations, or an item describes no entry. The exception has no
// name.
class InvalidStats : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// A directory entry vanished during a copy. Never thrown: FileLoop throws first.
class FileItemError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// A rename failed. Never thrown; MoveFile states the reason.
class FileMoveError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// A file or directory with a unique name could not be created. The code is 0 for a file and 1 for a
// directory, never an error number.
class CreateUniqueFileLocationFailed : public FileIOError {
public:
    using FileIOError::FileIOError;
};

// Permission denied (EPERM, EACCES).
class FilePermissionError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// Out of memory or of file descriptors (ENOMEM, ENFILE, EMFILE).
class FileResourceError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// The file is temporarily unavailable (EAGAIN).
class FileLockError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// The disk is full (ENOSPC). Thrown by FileWritingPath and FileWriter only.
class FileDiskFullError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// The position is not valid for the file (EINVAL). Thrown by readers and writers only.
class FileSeekError : public FileIOError {
public:
    using FileIOError::FileIOError;
};

// A read that must fill its target returned fewer bytes. The code is EndOfFileCode.
class EndOfFileError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// The length was requested of a path that is not open.
class FileNotOpenError : public FileIOError {
public:
    using FileIOError::FileIOError;
};

// The code of an EndOfFileError.
//
// Deliberate: an error number, although no system call has failed, because readers map each failure
// by its number (files/unix/FileErrorMappers.h). So the message ends with the system's text for
// that number.
inline constexpr int EndOfFileCode = 90;

// Returns "Error: <number>: <system message>", or "Unknown error: <number>" if the system has no
// message. The GNU C library has one for every number.
std::string MakeErrorString(unsigned int errorNumber);

// Throws the exception for `errorNumber` in the column "function" of
// files/unix/FileErrorMappers.h, with the path of `where`. Returns for 0, so callers can pass a
// saved errno unchecked.
void ThrowFileError(FileLocation const& where, int errorNumber);
