#include "files/FileOperations.h"

#include "files/FileLocation.h"
#include "files/unix/FileOperations.h"

void CreateFile(FileLocation const& location, FileCreatingInfo const& info) {
    location.RequireNonEmpty();
    UnixPlatform::CreateFile(location, info);
}

void CreateDirectory(FileLocation const& location, DirectoryCreatingInfo const& info) {
    location.RequireNonEmpty();
    UnixPlatform::CreateDirectory(location, info);
}

void CreateDirectoryForUserAppAccess(FileLocation const& location) {
    CreateDirectory(location, DirectoryCreatingInfo{0777});
}

void ForceDirectoryExistence(FileLocation const& location, DirectoryCreatingInfo const& info) {
    location.RequireNonEmpty();
    UnixPlatform::ForceDirectoryExistence(location, info);
}

void DeleteFile(FileLocation const& location) {
    location.RequireNonEmpty();
    UnixPlatform::DeleteFile(location);
}

void DeleteDirectory(FileLocation const& location) {
    location.RequireNonEmpty();
    UnixPlatform::DeleteDirectory(location);
}

void ForceNonexistence(FileLocation const& location) {
    location.RequireNonEmpty();
    UnixPlatform::ForceNonexistence(location);
}

void CopyFile(FileLocation const& from, FileLocation const& to) {
    from.RequireNonEmpty();
    to.RequireNonEmpty();
    UnixPlatform::CopyFile(from, to);
}

void ForceCopyFile(FileLocation const& from, FileLocation const& to) {
    from.RequireNonEmpty();
    to.RequireNonEmpty();
    UnixPlatform::ForceCopyFile(from, to);
}

void MoveFile(FileLocation const& from, FileLocation const& to) {
    from.RequireNonEmpty();
    to.RequireNonEmpty();
    UnixPlatform::MoveFile(from, to);
}

void ForceMoveFile(FileLocation const& from, FileLocation const& to) {
    from.RequireNonEmpty();
    to.RequireNonEmpty();
    UnixPlatform::ForceMoveFile(from, to);
}

void SetFileReadOnly(FileLocation const& location, bool readOnly) {
    location.RequireNonEmpty();
    UnixPlatform::SetFileReadOnly(location, readOnly);
}

long long CalculateFreeSpace(FileLocation const& location) {
    return UnixPlatform::CalculateFreeSpace(location);
}

void ForceRemoveInvalidFiles(FileLocation const& location, unsigned int kinds) {
    UnixPlatform::ForceRemoveInvalidFiles(location, kinds);
}
