// Moves. See files/unix/FileOperations.h.
//
// Moves, tree copies and retries depend on each other: a directory that moves to another file
// system is copied as a tree, tree copies retry each file, and retries include moves. The headers
// have no circular dependency; only the sources do.
#include "files/unix/FileOperations.h"

#include <cerrno>
#include <cstdio>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileTrees.h"
#include "files/unix/UnixFileInfo.h"

namespace UnixPlatform {

namespace {

// Returns the info of a location that existed a moment ago. Throws InvalidStats if it has vanished.
UnixFileInfo InfoOfExisting(FileLocation const& location) {
    UnixFileInfo const info(location);
    if (info.IsNothingThere())
        throw InvalidStats(0);
    return info;
}

// Does nothing, without an error, for an entry that is neither a regular file nor a directory.
void MoveToOtherFileSystem(FileLocation const& from, FileLocation const& to) {
    if (InfoOfExisting(from).IsRegularFile()) {
        CopyFile(from, to);
        DeleteFile(from);
    } else if (InfoOfExisting(from).IsDirectory()) {
        CopyDirectoryContents(from, to);
        DeleteRecursive(from);
    }
}

} // namespace

void MoveFile(FileLocation const& from, FileLocation const& to) {
    if (UnixFileInfo(from).IsNothingThere())
        throw FileNotFoundError(from, 0);
    // Not reached if `from` is empty, because nothing exists there.
    if (to.IsEmpty())
        throw EmptyFileLocationError(0);
    if (!UnixFileInfo(to).IsNothingThere())
        throw FileFoundError(to, 0);
    if (std::rename(from.Text(), to.Text()) == 0)
        return;
    if (errno == EXDEV)
        MoveToOtherFileSystem(from, to);
    else
        // Deliberate: constructed but not thrown. Callers depend on a failed rename returning
        // normally; a caller that must know examines both locations.
        // NOLINTNEXTLINE(bugprone-throw-keyword-missing): see above
        static_cast<void>(FileMoveError(from, to, errno));
}

void ForceMoveFile(FileLocation const& from, FileLocation const& to) {
    if (UnixFileInfo(from).IsNothingThere())
        throw FileNotFoundError(from, 0);
    if (!UnixFileInfo(to).IsNothingThere()) {
        bool const fromIsFile = InfoOfExisting(from).IsRegularFile();
        bool const toIsFile = InfoOfExisting(to).IsRegularFile();
        if (fromIsFile != toIsFile)
            throw DirectoryFoundError(InfoOfExisting(from).IsDirectory() ? from : to, 0);
        ForceNonexistence(to);
    }
    MoveFile(from, to);
}

} // namespace UnixPlatform
