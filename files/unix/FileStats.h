// The state of a path: whether something exists there, its type, and its stat records.
#pragma once

#include <cstdint>
#include <sys/stat.h>

enum FileStatsState : std::int32_t {
    StatsValid = 0,            // a directory entry that is not a symbolic link
    StatsValidThroughLink = 1, // a symbolic link whose target can be reached
    StatsBrokenLink = 2,       // a dangling link: a symbolic link whose target cannot be reached
    StatsNothingThere = 3,     // nothing exists there, or it cannot be examined
};

// The state of a path and the results of lstat(2) and stat(2). Type tests examine the target, so a
// link counts as its target.
class FileStats {
public:
    // The state StatsNothingThere.
    FileStats() = default;

    // Fills the object by lstat(2) and, for a symbolic link, stat(2). Returns 0 or the error number
    // of the call that failed: for a dangling link, that of stat(2).
    int get(char const* path);

    FileStatsState State() const { return state; }
    bool IsNothingThere() const { return state == StatsNothingThere; }
    bool IsBrokenLink() const { return state == StatsBrokenLink; }

    // False if there is no target.
    bool IsDirectory() const { return HasType(S_IFDIR); }
    bool IsRegularFile() const { return HasType(S_IFREG); }

    // The result of stat(2); all zero for a dangling link and if nothing exists at the path.
    struct stat const& Target() const {
        return target;
    }
    // The result of lstat(2); all zero if nothing exists at the path.
    struct stat const& Link() const {
        return link;
    }

protected:
    bool HasType(mode_t type) const {
        return state <= StatsValidThroughLink && (target.st_mode & S_IFMT) == type;
    }

    FileStatsState state = StatsNothingThere;
    struct stat target = {};
    struct stat link = {};
};
