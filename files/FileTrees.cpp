#include "files/FileTrees.h"

#include <cstddef>
#include <list>
#include <string>
#include <vector>

#include "files/CreatingInfo.h"
#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileLoop.h"
#include "files/FileOperations.h"
#include "files/FileRetry.h"
#include "files/unix/FileOperations.h"
#include "files/unix/UnixFileInfo.h"

namespace {

using UnixPlatform::UnixFileInfo;

// Returns the lengths of the path and its parents that do not exist, longest first, up to the first
// one that exists. Throws FileFoundError if that is not a directory, and like ParentPath.
//
// Truncates one string in place, because a path of many components would otherwise be copied for
// each of them.
std::vector<std::size_t> MissingLevels(FileLocation const& location) {
    std::vector<std::size_t> missing;
    std::string path = MakeString(location.Bytes());
    for (;;) {
        FileStats entry;
        entry.get(path.c_str());
        if (!entry.IsNothingThere()) {
            if (!entry.IsDirectory())
                throw FileFoundError(ConstData(path), 0);
            return missing;
        }
        missing.push_back(path.size());
        if (path == "/")
            return missing;
        path.resize(UnixPlatform::ParentPath(path).Length());
    }
}

// A directory that is being copied.
struct CopyLevel {
    CopyLevel(FileLocation const& from, FileLocation const& to)
        : target(to), loop(from, nullptr, false) {}

    FileLocation target;
    FileLoop loop;
};

using CopyLevels = std::list<CopyLevel>;

void RequireDirectory(FileLocation const& location) {
    if (UnixFileInfo(location).IsNothingThere())
        throw DirectoryNotFoundError(location, 0);
    UnixFileInfo const entry(location);
    if (entry.IsNothingThere())
        throw InvalidStats(0);
    if (!entry.IsDirectory())
        throw DirectoryNotFoundError(location, 0);
}

void EnterDirectory(CopyLevels& levels, FileLocation const& from, FileLocation const& to) {
    RequireDirectory(from);
    CreateDirectoryTree(to);
    levels.emplace_back(from, to);
}

// Copies the current entry of the innermost level, or enters it if it is a directory. Returns true
// if it was entered.
bool CopyEntry(CopyLevels& levels) {
    CopyLevel& level = levels.back();
    FileItem const& entry = *level.loop;
    FileLocation const from(entry.Location());
    FileLocation const to(level.target, FileName(from.Name()));
    // GCOVR_EXCL_START: the loop throws at an entry that has vanished
    if (entry.IsNothingThere())
        throw FileItemError(from, 0);
    // GCOVR_EXCL_STOP
    if (!entry.IsDirectory()) {
        CopyFileWithRetry(from, to, FileRetryLog());
        return false;
    }
    if (entry.State() != StatsValid)
        return false;
    EnterDirectory(levels, from, to);
    return true;
}

} // namespace

void CreateDirectoryTree(FileLocation const& location) {
    location.RequireNonEmpty();
    std::vector<std::size_t> const missing = MissingLevels(location);
    ConstData const path = location.Bytes();
    for (auto length = missing.rbegin(); length != missing.rend(); ++length)
        ForceDirectoryExistence(MakeFileLocation(ConstData(path.begin, *length)),
                                DirectoryCreatingInfo{0777});
}

// Uses a stack of levels instead of recursion, because only the length of a path limits the depth
// of directories. A loop advances only after the copy of its entry, because advancing may throw.
void CopyDirectoryContents(FileLocation const& from, FileLocation const& to) {
    from.RequireNonEmpty();
    to.RequireNonEmpty();
    CopyLevels levels;
    EnterDirectory(levels, from, to);
    for (;;) {
        if (levels.back().loop.HasItem()) {
            if (CopyEntry(levels))
                continue;
        } else {
            levels.pop_back();
            if (levels.empty())
                return;
        }
        ++levels.back().loop;
    }
}

void DeleteRecursive(FileLocation const& location) {
    location.RequireNonEmpty();
    UnixPlatform::DeleteRecursive(location);
}

void DeleteContents(FileLocation const& location) {
    location.RequireNonEmpty();
    UnixPlatform::DeleteContents(location);
}

void ForceDeleteRecursive(FileLocation const& location) {
    location.RequireNonEmpty();
    if (!UnixFileInfo(location).IsNothingThere())
        DeleteRecursive(location);
}

void ForceDeleteContents(FileLocation const& location) {
    location.RequireNonEmpty();
    if (!UnixFileInfo(location).IsNothingThere())
        DeleteContents(location);
}
