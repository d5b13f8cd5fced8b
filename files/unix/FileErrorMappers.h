// Maps error numbers to the exceptions of files/FileErrors.h.
//
// Deliberate: there are five mappings, because a number can mean different failures for a reader, a
// writer and other functions. A number that is not in the column of a mapping throws FileIOError.
//
//  Error number          Class                   function   reading  writing  reader  writer
//                                                           path     path
//  EPERM EACCES          FilePermissionError     x          x        x        x       x
//  ENOENT                FileNotFoundError       x          x        x                x
//  EAGAIN                FileLockError           x          x        x                x
//  ENOMEM ENFILE EMFILE  FileResourceError       x          x        x                x
//  EEXIST                FileExistsError                             x                x
//  ENOTDIR ENAMETOOLONG  DirectoryNotFoundError  x          x        x                x
//  EINVAL                FileSeekError                                        x       x
//  ENOSPC                FileDiskFullError                           x                x
//  EndOfFileCode         EndOfFileError                                       x
//
// The column "function" is ThrowFileError (files/FileErrors.h), for functions that use no open
// path.
#pragma once

namespace UnixPlatform {

class FileLocation;

// Implement the ThrowError members of FileReadingPath, FileWritingPath, FileReader and FileWriter.
// Each throws with the path of `where` and the number, and returns for 0.
void ThrowReadingPathError(FileLocation const& where, int errorNumber);
void ThrowWritingPathError(FileLocation const& where, int errorNumber);
void ThrowReaderError(FileLocation const& where, int errorNumber);
void ThrowWriterError(FileLocation const& where, int errorNumber);

} // namespace UnixPlatform
