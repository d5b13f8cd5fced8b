#include "files/unix/UnixFileInfo.h"

#include <cstring>

#include "files/unix/FileLocation.h"

namespace {

// Multiplies as unsigned, because a file system may have a time for which the product wraps.
Instant InstantOfSeconds(time_t seconds) {
    return Instant(static_cast<std::int64_t>(static_cast<std::uint64_t>(seconds) *
                                             std::uint64_t{microsecondsPerSecond}));
}

bool SameBytes(struct stat const& left, struct stat const& right) {
    return std::memcmp(&left, &right, sizeof left) == 0;
}

} // namespace

namespace UnixPlatform {

UnixFileInfo::UnixFileInfo(FileLocation const& location) { Set(location); }

int UnixFileInfo::Set(FileLocation const& location) { return get(location.Text()); }

Instant UnixFileInfo::AccessTime() const {
    return FileTimeToInstant(InstantOfSeconds(target.st_atim.tv_sec));
}

Instant UnixFileInfo::ModificationTime() const {
    return FileTimeToInstant(InstantOfSeconds(target.st_mtim.tv_sec));
}

void UnixFileInfo::SetModificationTime(Instant const& time) {
    target.st_mtim.tv_sec = InstantToFileTime(time).microseconds / microsecondsPerSecond;
}

bool operator==(UnixFileInfo const& left, UnixFileInfo const& right) {
    return !left.IsNothingThere() && left.State() == right.State() &&
           SameBytes(left.Target(), right.Target()) && SameBytes(left.Link(), right.Link());
}

Instant FileTimeToInstant(Instant time) { return time; }

Instant InstantToFileTime(Instant time) { return time; }

} // namespace UnixPlatform
