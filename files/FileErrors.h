// Exceptions for failed operations on files.
//
// All classes derive directly from FileIOError and add no members. The code is the error number of
// the system call that failed, or 0 if the operation itself refused.
#pragma once

#include <string>

#include "data/ConstData.h"
#include "data/DebuggableException.h"

class FileLocation;
struct FileIOErrorDetails;

// An error number and the names of up to two files. Its size is one pointer besides the virtual
// table.
//
// Error handling: the constructors allocate and may throw std::bad_alloc.
class FileIOError : public DebuggableException {
public:
    // Code 0 means that no system call failed. Names may be empty; a location is stored as its
    // path.
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

    // Returns the type (as what() of other exceptions returns it), the names that are not empty,
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

// A file that must exist does not, or one that must not exist does.
class FileNotFoundError : public FileIOError {
public:
    using FileIOError::FileIOError;
    FileNotFoundError() : FileIOError(0) {}
};
class FileFoundError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// The destination of a copy or of an exclusive creation already exists.
class FileExistsError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// A directory does not exist, or a part of a path is not a directory.
class DirectoryNotFoundError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
class DirectoryFoundError : public FileIOError {
public:
    using FileIOError::FileIOError;
};

// An argument of a creation is invalid.
class DirectoryCreateFailed : public FileIOError {
public:
    using FileIOError::FileIOError;
};
class FileCreateFailed : public FileIOError {
public:
    using FileIOError::FileIOError;
};

// The location is unsuitable for the operation. EmptyFileLocationError has no name.
class EmptyFileLocationError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// A path without "/" has no parent.
class InvalidFileLocation : public FileIOError {
public:
    using FileIOError::FileIOError;
};
class RootHasNoParent : public FileIOError {
public:
    using FileIOError::FileIOError;
};

// An item vanished before it was examined.
class InvalidStats : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// A directory entry vanished during a copy.
class FileItemError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// A rename failed. Never thrown; MoveFile states the reason.
class FileMoveError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// The code is 0 for a file and 1 for a directory, never an error number.
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
// The disk is full (ENOSPC). Thrown by writing operations only.
class FileDiskFullError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// The position is not valid for the file (EINVAL). Thrown by readers and writers only.
class FileSeekError : public FileIOError {
public:
    using FileIOError::FileIOError;
};

// A read returned fewer bytes than requested.
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
// Deliberate: no system call has failed, but the code is an error number, so the message ends with
// the system's text for that number.
inline constexpr int EndOfFileCode = 90;

// Returns "Error: <number>: <system message>", or "Unknown error: <number>" if the system has no
// message.
std::string MakeErrorString(unsigned int errorNumber);

// Throws the class for the error number of a function that is not a member of a reader, writer or
// path, with `where` and the number. Does nothing for 0, so callers can pass a saved errno
// unchecked. files/unix/FileErrorMappers.h has the table of all mappings.
void ThrowFileError(FileLocation const& where, int errorNumber);
