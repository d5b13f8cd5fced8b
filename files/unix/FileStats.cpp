#include "files/unix/FileStats.h"

#include <cerrno>
#include <cstring>

int FileStats::get(char const* path) {
    if (lstat(path, &link) != 0) {
        int const error = errno;
        std::memset(&target, 0, sizeof target);
        std::memset(&link, 0, sizeof link);
        state = StatsNothingThere;
        return error;
    }
    if (!S_ISLNK(link.st_mode)) {
        std::memcpy(&target, &link, sizeof target);
        state = StatsValid;
        return 0;
    }
    if (stat(path, &target) != 0) {
        int const error = errno;
        std::memset(&target, 0, sizeof target);
        state = StatsBrokenLink;
        return error;
    }
    state = StatsValidThroughLink;
    return 0;
}
