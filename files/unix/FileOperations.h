// The implementation of files/FileOperations.h, and of DeleteRecursive and DeleteContents in
// files/FileTrees.h. The contracts of these headers apply.
//
// Only the results for empty locations differ; they are stated here.
#pragma once

#include "files/CreatingInfo.h"

namespace UnixPlatform {

class FileLocation;

// Empty location: FileCreateFailed and DirectoryCreateFailed, with the code 0.
void CreateFile(FileLocation const& location, FileCreatingInfo const& info);
void CreateDirectory(FileLocation const& location, DirectoryCreatingInfo const& info);

// Empty location: EmptyFileLocationError.
void ForceDirectoryExistence(FileLocation const& location, DirectoryCreatingInfo const& info);

// Empty location: FileNotFoundError, with the code 0.
void DeleteFile(FileLocation const& location);

// Empty location: DirectoryNotFoundError, as for anything that is not a directory.
void DeleteDirectory(FileLocation const& location);

// Empty location: does nothing, as if nothing exists there.
void ForceNonexistence(FileLocation const& location);

// Empty location: EmptyFileLocationError.
void DeleteRecursive(FileLocation const& location);
void DeleteContents(FileLocation const& location);

// Empty location: FileNotFoundError, with the code 0 for `from` and the system's code for `to`.
void CopyFile(FileLocation const& from, FileLocation const& to);
void ForceCopyFile(FileLocation const& from, FileLocation const& to);

// Empty location: FileNotFoundError with the code 0 for `from`; EmptyFileLocationError for `to`, if
// something exists at `from`.
void MoveFile(FileLocation const& from, FileLocation const& to);
void ForceMoveFile(FileLocation const& from, FileLocation const& to);

// Empty location: does nothing.
void SetFileReadOnly(FileLocation const& location, bool readOnly);

long long CalculateFreeSpace(FileLocation const& location);
void ForceRemoveInvalidFiles(FileLocation const& location, unsigned int kinds);

} // namespace UnixPlatform
