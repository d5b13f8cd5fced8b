// From error numbers to the classes of files/FileErrors.h, for each kind of caller.
//
// The mappers differ on purpose: the same number means something else to a reader, to a writer and
// to a free-standing operation. Numbers without a class, listed or not, give the plain FileIOError.
//
//  Error number          Class                   operation  reading  writing  reader  writer
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
#pragma once

namespace UnixPlatform {

class FileLocation;

// What the ThrowError members of FileReadingPath, FileWritingPath, FileReader and FileWriter do.
// Each throws, with the path of `where` and the number, and returns for 0.
void ThrowReadingPathError(FileLocation const& where, int errorNumber);
void ThrowWritingPathError(FileLocation const& where, int errorNumber);
void ThrowReaderError(FileLocation const& where, int errorNumber);
void ThrowWriterError(FileLocation const& where, int errorNumber);

} // namespace UnixPlatform
