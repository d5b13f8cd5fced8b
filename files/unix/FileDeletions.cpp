// Deletion of trees. See files/unix/FileOperations.h.
#include "files/unix/FileOperations.h"

#include <list>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/unix/FileLoop.h"
#include "files/unix/UnixFileInfo.h"

namespace UnixPlatform {

namespace {

// A directory whose contents are being deleted.
struct Level {
    explicit Level(FileLocation const& where) : directory(where), loop(where, false, nullptr) {}

    FileLocation directory;
    FileLoop loop;
};

// Returns true if the entry is a directory; otherwise removes it by ForceNonexistence.
bool DeleteUnlessDirectory(FileItem const& entry) {
    // GCOVR_EXCL_START: the loop throws at an entry that has vanished
    if (entry.IsNothingThere())
        return false;
    // GCOVR_EXCL_STOP
    if (entry.IsDirectory())
        return true;
    ForceNonexistence(entry.Location());
    return false;
}

// Uses a stack of levels instead of recursion, because only the length of a path limits the depth
// of directories. A directory is removed after the last of its entries.
void DeleteTreeContents(FileLocation const& where) {
    std::list<Level> levels;
    levels.emplace_back(where);
    for (;;) {
        FileLoop& loop = levels.back().loop;
        if (loop.HasItem()) {
            if (DeleteUnlessDirectory(loop.Item()))
                levels.emplace_back(loop.Item().Location());
            else
                ++loop;
        } else {
            FileLocation const emptied = levels.back().directory;
            levels.pop_back();
            if (levels.empty())
                return;
            DeleteDirectory(emptied);
            ++levels.back().loop;
        }
    }
}

void RequireExisting(FileLocation const& location) {
    if (location.IsEmpty())
        throw EmptyFileLocationError(0);
    if (UnixFileInfo(location).IsNothingThere())
        throw DirectoryNotFoundError(location, 0);
}

} // namespace

void DeleteRecursive(FileLocation const& location) {
    RequireExisting(location);
    DeleteTreeContents(location);
    DeleteDirectory(location);
}

void DeleteContents(FileLocation const& location) {
    RequireExisting(location);
    DeleteTreeContents(location);
}

} // namespace UnixPlatform
