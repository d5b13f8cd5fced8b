#include "files/unix/FileErrorMappers.h"

#include <cerrno>

#include "files/FileErrors.h"
#include "files/FileLocation.h"

namespace {

void ThrowPermissionError(FileLocation const& where, int errorNumber) {
    if (errorNumber == EPERM || errorNumber == EACCES)
        throw FilePermissionError(where, errorNumber);
}

void ThrowSeekError(FileLocation const& where, int errorNumber) {
    if (errorNumber == EINVAL)
        throw FileSeekError(where, errorNumber);
}

// The errors of both writing columns.
void ThrowWritingError(FileLocation const& where, int errorNumber) {
    switch (errorNumber) {
    case EEXIST:
        throw FileExistsError(where, errorNumber);
    case ENOSPC:
        throw FileDiskFullError(where, errorNumber);
    }
}

// The errors of all columns except the reader's.
void ThrowCommonError(FileLocation const& where, int errorNumber) {
    ThrowPermissionError(where, errorNumber);
    switch (errorNumber) {
    case ENOENT:
        throw FileNotFoundError(where, errorNumber);
    case EAGAIN:
        throw FileLockError(where, errorNumber);
    case ENOMEM:
    case ENFILE:
    case EMFILE:
        throw FileResourceError(where, errorNumber);
    case ENOTDIR:
    case ENAMETOOLONG:
        throw DirectoryNotFoundError(where, errorNumber);
    }
}

void ThrowPlainError(FileLocation const& where, int errorNumber) {
    if (errorNumber != 0)
        throw FileIOError(where, errorNumber);
}

} // namespace

void ThrowFileError(FileLocation const& where, int errorNumber) {
    ThrowCommonError(where, errorNumber);
    ThrowPlainError(where, errorNumber);
}

namespace UnixPlatform {

void ThrowReadingPathError(FileLocation const& where, int errorNumber) {
    ThrowFileError(where, errorNumber);
}

void ThrowWritingPathError(FileLocation const& where, int errorNumber) {
    ThrowWritingError(where, errorNumber);
    ThrowCommonError(where, errorNumber);
    ThrowPlainError(where, errorNumber);
}

void ThrowReaderError(FileLocation const& where, int errorNumber) {
    ThrowPermissionError(where, errorNumber);
    ThrowSeekError(where, errorNumber);
    if (errorNumber == EndOfFileCode)
        throw EndOfFileError(where, errorNumber);
    ThrowPlainError(where, errorNumber);
}

void ThrowWriterError(FileLocation const& where, int errorNumber) {
    ThrowSeekError(where, errorNumber);
    ThrowWritingError(where, errorNumber);
    ThrowCommonError(where, errorNumber);
    ThrowPlainError(where, errorNumber);
}

} // namespace UnixPlatform
