#include "files/unix/FileItem.h"

#include <cerrno>
#include <sys/time.h>

#include "files/FileErrors.h"
#include "files/FileLocation.h"

namespace {

timeval WholeSeconds(Instant time) {
    return {UnixPlatform::InstantToFileTime(time).microseconds / microsecondsPerSecond, 0};
}

[[noreturn]] void ThrowTimeError(FileLocation const& where, int error) {
    switch (error) {
    case ENOENT:
        throw FileNotFoundError(where, error);
    case EACCES:
        throw FilePermissionError(where, error);
    default:
        throw FileIOError(where, error);
    }
}

} // namespace

namespace UnixPlatform {

Instant FileItem::GetTimeBias() { return Instant(0); }

Instant FileItem::RoundToFileSystem(Instant time) {
    return FileTimeToInstant(InstantToFileTime(time));
}

int FileItem::Fill(FileLocation const& where) {
    location = where;
    return Set(location);
}

int FileItem::Fill(FileLocation const& parent, FileName const& name) {
    location.Set(parent, name.Bytes());
    return Set(location);
}

bool FileItem::MustReportError(bool tolerant) const { return !(IsBrokenLink() && tolerant); }

bool FileItem::HandleTryToGetError(bool tolerant) const { return !MustReportError(tolerant); }

void FileItem::HandleGetError(int error, bool tolerant) const {
    // Copies the location only if there is an error.
    if (error != 0 && MustReportError(tolerant))
        ThrowFileError(location, error); // GCOVR_EXCL_BR_LINE: always throws
}

void FileItem::SetModificationTime(Instant time) {
    if (IsNothingThere())
        throw InvalidStats(0);
    UnixFileInfo::SetModificationTime(time);
    timeval const times[] = {WholeSeconds(AccessTime()), WholeSeconds(time)};
    if (utimes(location.Text(), times) != 0)
        ThrowTimeError(location, errno);
}

} // namespace UnixPlatform
