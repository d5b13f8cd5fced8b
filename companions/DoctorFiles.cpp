#include "companions/DoctorFiles.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>

#include <fcntl.h>
#include <unistd.h>

#include "companions/Timestamp.h"
#include "companions/UserName.h"

namespace {

bool IsSame(timespec const& left, timespec const& right) {
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

} // namespace

FileFacts::FileFacts(char const* thePath) : path(thePath) {
    entryError = lstat(thePath, &entry) == 0 ? 0 : errno;
    error = entryError;
    facts = entry;
    if (IsLink() && stat(thePath, &facts) != 0)
        error = errno;
}

bool FileFacts::IsNotFound(int errorNumber) {
    return errorNumber == ENOENT || errorNumber == ENOTDIR;
}

bool FileFacts::HasSameEntryAs(FileFacts const& other) const {
    return entryError == other.entryError && entry.st_dev == other.entry.st_dev &&
           entry.st_ino == other.entry.st_ino && IsSame(entry.st_ctim, other.entry.st_ctim);
}

bool FileFacts::IsOpenToOthers() const {
    return (facts.st_mode & S_IWOTH) != 0 && (facts.st_mode & S_ISVTX) == 0;
}

int FileFacts::Refusal(int rights) const {
    return faccessat(AT_FDCWD, path.c_str(), rights, AT_EACCESS) == 0 ? 0 : errno;
}

std::string FileFacts::OwnerAndMode() const {
    std::array<char, 64> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), " and group %u, mode %04o",
                                    facts.st_gid, facts.st_mode & 07777U));
    return "owned by user " + UserName(facts.st_uid) + text.data();
}

std::string FileFacts::Reason() const { return std::strerror(error); }

std::string FileFacts::Remedy() const {
    if (error == EACCES)
        return "give this user search permission for the directories above it";
    return error == ELOOP ? "remove the loop of symbolic links"
                          : "look for errors of the file system in the system log";
}

long long FileFacts::AgeInSeconds() const {
    // Not time(2), which can be a few milliseconds behind the clock of file timestamps.
    return SecondsBetween(facts.st_mtim.tv_sec, CurrentTime().tv_sec);
}

long long SecondsBetween(long long start, long long end) {
    using Limits = std::numeric_limits<long long>;
    if (start < 0 && end > Limits::max() + start)
        return Limits::max();
    if (start > 0 && end < Limits::min() + start)
        return Limits::min();
    return end - start;
}

std::string DescribeAge(long long seconds) {
    struct Unit {
        long long seconds;
        char const* name;
    };
    constexpr std::array units = {Unit{86'400, "day"}, Unit{3'600, "hour"}, Unit{60, "minute"}};
    if (seconds < 0)
        return "dated in the future";
    Unit unit = {1, "second"};
    for (Unit const& larger : units) {
        // At least 2 of a unit, so the omitted remainder is less than a third of the age.
        if (seconds >= 2 * larger.seconds) {
            unit = larger;
            break;
        }
    }
    long long const number = seconds / unit.seconds;
    return std::to_string(number) + " " + unit.name + (number == 1 ? "" : "s") + " old";
}

bool IsKeptByStickyDirectory(FileFacts const& file, FileFacts const& directory) {
    uid_t const user = geteuid();
    return user != 0 && file.Exists() && (directory.Facts().st_mode & S_ISVTX) != 0 &&
           file.Facts().st_uid != user && directory.Facts().st_uid != user;
}

bool IsProtectedByStickyDirectory(FileFacts const& file, FileFacts const& directory) {
    struct stat const& facts = directory.Facts();
    if (!file.Exists() || (facts.st_mode & S_ISVTX) == 0)
        return false;
    uid_t const owner = file.Facts().st_uid;
    if (owner == geteuid() || owner == facts.st_uid)
        return false;
    int protection = 0;
    std::ifstream("/proc/sys/fs/protected_regular") >> protection;
    return (protection >= 1 && (facts.st_mode & S_IWOTH) != 0) ||
           (protection >= 2 && (facts.st_mode & S_IWGRP) != 0);
}
