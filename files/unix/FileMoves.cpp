// Moves: the declarations stand in files/unix/FileOperations.h.
//
// A directory that moves to another file system is copied as a tree, a tree is copied with retries,
// and the family of the retries has one for moves. The ring is closed here, and in no header.
#include "files/unix/FileOperations.h"

#include <cerrno>
#include <cstdio>

#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileTrees.h"
#include "files/unix/UnixFileInfo.h"

namespace UnixPlatform {

namespace {

// The info of a location that existed a moment ago.
UnixFileInfo InfoOfExisting(FileLocation const& location) {
    UnixFileInfo const info(location);
    if (info.IsNothingThere())
        throw InvalidStats(0);
    return info;
}

// An entry that is neither a regular file nor a directory is not moved, without an
// error.
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
    // At an empty `from` there was nothing.
    if (to.IsEmpty())
        throw EmptyFileLocationError(0);
    if (!UnixFileInfo(to).IsNothingThere())
        throw FileFoundError(to, 0);
    if (std::rename(from.Text(), to.Text()) == 0)
        return;
    if (errno == EXDEV)
        MoveToOtherFileSystem(from, to);
    else
        // Deliberate: made and not thrown. Callers have come to rely on a refused rename being
        // silent; a caller that must know looks at `to`.
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
