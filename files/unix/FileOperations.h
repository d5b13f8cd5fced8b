// The work behind the operations of files/FileOperations.h and files/FileTrees.h.
//
// The contract stands there. What differs: an empty location is not refused beforehand, and gives
// what is told here.
#pragma once

#include "files/CreatingInfo.h"

namespace UnixPlatform {

class FileLocation;

// Empty location: FileCreateFailed and DirectoryCreateFailed, code 0.
void CreateFile(FileLocation const& location, FileCreatingInfo const& info);
void CreateDirectory(FileLocation const& location, DirectoryCreatingInfo const& info);

// Empty location: EmptyFileLocationError.
void ForceDirectoryExistence(FileLocation const& location, DirectoryCreatingInfo const& info);

// Empty location: FileNotFoundError, code 0.
void DeleteFile(FileLocation const& location);

// Empty location: as for anything that is no directory.
void DeleteDirectory(FileLocation const& location);

// Empty location: nothing, as where nothing stands.
void ForceNonexistence(FileLocation const& location);

// Empty location: EmptyFileLocationError.
void DeleteRecursive(FileLocation const& location);
void DeleteContents(FileLocation const& location);

// Empty location: FileNotFoundError, with the code 0 for `from` and the system's for `to`.
void CopyFile(FileLocation const& from, FileLocation const& to);
void ForceCopyFile(FileLocation const& from, FileLocation const& to);

// Empty location: for `from` FileNotFoundError, code 0; for `to` EmptyFileLocationError, if
// something stands at `from`.
void MoveFile(FileLocation const& from, FileLocation const& to);
void ForceMoveFile(FileLocation const& from, FileLocation const& to);

// Empty location: nothing happens.
void SetFileReadOnly(FileLocation const& location, bool readOnly);

long long CalculateFreeSpace(FileLocation const& location);
void ForceRemoveInvalidFiles(FileLocation const& location, unsigned int kinds);

} // namespace UnixPlatform
