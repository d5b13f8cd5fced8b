// What stands at a path, as the system tells it.
#pragma once

#include <cstdint>
#include <sys/stat.h>

enum FileStatsState : std::int32_t {
    StatsValid = 0,            // an entry that is no symbolic link
    StatsValidThroughLink = 1, // a symbolic link with a target that can be reached
    StatsBrokenLink = 2,       // a symbolic link whose target can't be reached
    StatsNothingThere = 3,     // nothing, or nothing that can be examined
};

// The state of a path, and what lstat(2) and stat(2) tell of it. Type tests look at the target, so
// a link counts as what it points at.
class FileStats {
public:
    // Nothing there.
    FileStats() = default;

    // Fills the object by lstat(2) and, for a link, stat(2). Yields 0 or the error number of the
    // one that failed, which is that of the target for a broken link.
    int get(char const* path);

    FileStatsState State() const { return state; }
    bool IsNothingThere() const { return state == StatsNothingThere; }
    bool IsBrokenLink() const { return state == StatsBrokenLink; }

    // False where there is no target to look at.
    bool IsDirectory() const { return HasType(S_IFDIR); }
    bool IsRegularFile() const { return HasType(S_IFREG); }

    // What stat(2) tells; all zero for a broken link and where nothing is.
    struct stat const& Target() const {
        return target;
    }
    // What lstat(2) tells; all zero where nothing is.
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
