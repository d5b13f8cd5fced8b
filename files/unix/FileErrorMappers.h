// From error numbers to the classes of files/FileErrors.h, for each kind of caller.
//
// The mappers differ on purpose: the same number means something else to a reader, to a writer and
// to a free-standing operation. "-" is the plain FileIOError, as is every number that is not
// listed.
//
//                              ThrowFileError  reading path   writing path   reader       writer
//  EPERM EACCES                FilePermissionError in all five
//  ENOENT                      FileNotFound    FileNotFound   FileNotFound   - FileNotFound EAGAIN
//  FileLock        FileLock       FileLock       -            FileLock ENOMEM ENFILE EMFILE
//  FileResource    FileResource   FileResource   -            FileResource EEXIST -               -
//  FileExists     -            FileExists ENOTDIR ENAMETOOLONG        DirectoryNotFound, but in the
//  reader: - EINVAL                      -               -              -              FileSeek
//  FileSeek ENOSPC                      -               -              FileDiskFull   -
//  FileDiskFull EndOfFileCode               -               -              -              EndOfFile
//  -
#pragma once

namespace UnixPlatform {

class FileLocation;

// What the ThrowError members of the four classes do. Each throws, with the path of `where` and the
// number, and returns for 0.
void ThrowReadingPathError(FileLocation const& where, int errorNumber);
void ThrowWritingPathError(FileLocation const& where, int errorNumber);
void ThrowReaderError(FileLocation const& where, int errorNumber);
void ThrowWriterError(FileLocation const& where, int errorNumber);

} // namespace UnixPlatform
