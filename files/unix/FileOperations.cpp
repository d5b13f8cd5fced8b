#include "files/unix/FileOperations.h"

#include <cerrno>
#include <cstdio>
#include <limits>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/unix/UnixFileInfo.h"

namespace {

constexpr mode_t allWriteBits = 0222;

// Throws the exception for errno. Reads errno first, because the conversion of the location may
// change it.
void ThrowSystemError(UnixPlatform::FileLocation const& location) {
    int const error = errno;
    ThrowFileError(location, error); // GCOVR_EXCL_BR_LINE: always throws
}

// For system calls that return 0 on success.
void ThrowIfFailed(int result, UnixPlatform::FileLocation const& location) {
    if (result != 0)
        ThrowSystemError(location);
}

void RequireNonEmpty(UnixPlatform::FileLocation const& location) {
    if (location.IsEmpty())
        throw EmptyFileLocationError(0);
}

void MakeEmptyFile(UnixPlatform::FileLocation const& location) {
    std::FILE* const file = std::fopen(location.Text(), "w");
    if (file == nullptr)
        ThrowSystemError(location);
    else
        static_cast<void>(std::fclose(file));
}

void MakeDirectory(UnixPlatform::FileLocation const& location, DirectoryCreatingInfo const& info) {
    ThrowIfFailed(mkdir(location.Text(), info.permissions), location);
}

// umask(2), which returns the umask, also sets it.
mode_t ReadUmask() {
    mode_t const mask = umask(0);
    umask(mask);
    return mask;
}

} // namespace

namespace UnixPlatform {

void CreateFile(FileLocation const& location, FileCreatingInfo const& info) {
    if (location.IsEmpty())
        throw FileCreateFailed(location, 0);
    if (!UnixFileInfo(location).IsNothingThere())
        throw FileFoundError(location, 0);
    MakeEmptyFile(location);
    if (info.permissions != FileCreatingInfo::systemDefault)
        ThrowIfFailed(chmod(location.Text(), info.permissions), location);
}

void CreateDirectory(FileLocation const& location, DirectoryCreatingInfo const& info) {
    if (location.IsEmpty())
        throw DirectoryCreateFailed(location, 0);
    if (!UnixFileInfo(location).IsNothingThere())
        throw DirectoryFoundError(location, 0);
    MakeDirectory(location, info);
}

void ForceDirectoryExistence(FileLocation const& location, DirectoryCreatingInfo const& info) {
    RequireNonEmpty(location);
    UnixFileInfo const entry(location);
    if (entry.IsNothingThere())
        MakeDirectory(location, info);
    else if (!entry.IsDirectory())
        throw FileFoundError(location, 0);
}

void DeleteFile(FileLocation const& location) {
    if (location.IsEmpty())
        throw FileNotFoundError(location, 0);
    ThrowIfFailed(unlink(location.Text()), location);
}

void DeleteDirectory(FileLocation const& location) {
    if (!UnixFileInfo(location).IsDirectory())
        throw DirectoryNotFoundError(location, 0);
    ThrowIfFailed(rmdir(location.Text()), location);
}

void ForceNonexistence(FileLocation const& location) {
    UnixFileInfo const entry(location);
    if (entry.IsRegularFile())
        DeleteFile(location);
    else if (entry.IsDirectory())
        DeleteDirectory(location);
}

void SetFileReadOnly(FileLocation const& location, bool readOnly) {
    if (location.IsEmpty())
        return;
    struct stat stats;
    ThrowIfFailed(stat(location.Text(), &stats), location);
    mode_t const mode =
        readOnly ? stats.st_mode & ~allWriteBits : (stats.st_mode | allWriteBits) & ~ReadUmask();
    ThrowIfFailed(chmod(location.Text(), mode & 07777), location);
}

bool FileLocation::IsReadOnly() const {
    RequireNonEmpty(*this);
    if (access(Text(), W_OK) == 0)
        return false;
    if (errno != EACCES && errno != EROFS)
        ThrowSystemError(*this);
    return true;
}

// Uses f_bfree, not f_bavail, to include the superuser's blocks. Multiplies as unsigned, because
// the product for a huge file system may exceed a signed number; the result is then -1.
long long CalculateFreeSpace(FileLocation const& location) {
    struct statvfs stats;
    if (statvfs(location.Text(), &stats) != 0)
        return -1;
    unsigned long long const bytes =
        static_cast<unsigned long long>(stats.f_bfree) * stats.f_frsize;
    constexpr auto maxResult =
        static_cast<unsigned long long>(std::numeric_limits<long long>::max());
    return bytes > maxResult ? -1 : static_cast<long long>(bytes);
}

void ForceRemoveInvalidFiles(FileLocation const&, unsigned int) {}

} // namespace UnixPlatform
