// Every failure that concerns a file on disk.
//
// All classes derive from FileIOError directly and add nothing but their type. An operation's own
// refusal has the code 0; where a system call failed, the code is its error number.
#pragma once

#include <string>

#include "data/ConstData.h"
#include "data/DebuggableException.h"

class FileLocation;
struct FileIOErrorDetails;

// An error number and the names of up to two files. One pointer besides the virtual table.
//
// Error handling: the constructors allocate and pass std::bad_alloc on.
class FileIOError : public DebuggableException {
public:
    // Code 0 stands for: no system error. Names can be empty; a location gives its path.
    explicit FileIOError(int code);
    FileIOError(ConstData name, int code);
    FileIOError(ConstData first, ConstData second, int code);
    FileIOError(FileLocation const& where, int code);
    FileIOError(FileLocation const& first, FileLocation const& second, int code);

    // The code and the names, not the cached message: a copy makes its own, and what an assignment
    // changes shows in the next what() only.
    FileIOError(FileIOError const& other);
    FileIOError& operator=(FileIOError const& other);

    ~FileIOError() override;

    int GetCode() const;

    // The type as what() of other exceptions spells it, the names that are not empty, and the
    // system's words for a code that is not 0:
    //
    //     File error "17FileNotFoundError" on "/x" and "/y": Error: 2: No such file or directory
    std::string MakeErrorMessage() const;

    // The message, made anew and kept until the next what() of this object or its end; the bare
    // type name if the memory for it is missing.
    char const* what() const noexcept override;

private:
    FileIOErrorDetails* details;
};

// Something that must be there is not, or something is there that must not be.
class FileNotFoundError : public FileIOError {
public:
    using FileIOError::FileIOError;
    FileNotFoundError() : FileIOError(0) {}
};
class FileFoundError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// The destination of a copy, or of an exclusive creation.
class FileExistsError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// By an operation on directories, or on the way to a file.
class DirectoryNotFoundError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
class DirectoryFoundError : public FileIOError {
public:
    using FileIOError::FileIOError;
};

// A creation was refused for its arguments.
class DirectoryCreateFailed : public FileIOError {
public:
    using FileIOError::FileIOError;
};
class FileCreateFailed : public FileIOError {
public:
    using FileIOError::FileIOError;
};

// A location cannot be used as it is wanted. The empty one never has a name.
class EmptyFileLocationError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// No "/", hence no parent.
class InvalidFileLocation : public FileIOError {
public:
    using FileIOError::FileIOError;
};
class RootHasNoParent : public FileIOError {
public:
    using FileIOError::FileIOError;
};

// The information about an item could not be had when it was needed.
class InvalidStats : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// A directory entry vanished during a copy.
class FileItemError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// A rename failed. Nobody throws it; MoveFile tells why.
class FileMoveError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// Code 0 for a file, 1 for a directory, whatever the system said.
class CreateUniqueFileLocationFailed : public FileIOError {
public:
    using FileIOError::FileIOError;
};

// What the system refused, by its error number.
class FilePermissionError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// Out of memory or of descriptors.
class FileResourceError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// Somebody holds it for the moment.
class FileLockError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// To those only that write.
class FileDiskFullError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// A stream's position is none that the file can have.
class FileSeekError : public FileIOError {
public:
    using FileIOError::FileIOError;
};

// A read stopped short.
class EndOfFileError : public FileIOError {
public:
    using FileIOError::FileIOError;
};
// The length of a path was asked for that has nothing open.
class FileNotOpenError : public FileIOError {
public:
    using FileIOError::FileIOError;
};

// The code of an EndOfFileError. Deliberate: no system failure, yet one of the system's numbers, so
// that the message ends in the words that the system has for that number.
inline constexpr int EndOfFileCode = 90;

// "Error: <number>: <the system's words>", or "Unknown error: <number>" if the system has none.
std::string MakeErrorString(unsigned int errorNumber);

// Throws the class that the error number of a free-standing operation means, with `where` and the
// number. Does nothing for 0, so that it can be called with whatever errno was saved.
// The table of all mappers stands in files/unix/FileErrorMappers.h.
void ThrowFileError(FileLocation const& where, int errorNumber);
