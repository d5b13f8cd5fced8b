// Operations on whole directory trees.
//
// Trees are walked by FileLoop, in its order. A dangling link stops the walk with the error of
// stat(2), normally FileNotFoundError; the entries before it have been processed by then. Nothing
// is recursive, so only the length of a path (PATH_MAX) limits the depth of a tree. Nothing is
// undone after a failure.
//
// Error handling: EmptyFileLocationError for an empty location; otherwise the exceptions of
// FileOperations.h, and InvalidFileLocation from the functions that create directories.
#pragma once

class FileLocation;

// Creates the directory and all missing parents, with the permissions 0777 less the umask.
// Throws FileFoundError, with the path of the entry, if the location or a parent exists and is not
// a directory. Throws InvalidFileLocation for a relative path whose first component does not exist.
void CreateDirectoryTree(FileLocation const& location);

// Copies the entries of `from` to `to`, which CreateDirectoryTree creates if necessary. Directories
// are copied with their contents, and other entries are copied by CopyFileWithRetry. A link to a
// regular file becomes a copy of its target. A link to a directory is skipped without an error.
// Permissions and times are not copied: the copies have those of new directories and files.
//
// Throws DirectoryNotFoundError if `from` is not a directory, and InvalidStats, without a name, if
// `from` vanishes between two examinations at the start.
//
// The copy ends if CopyFileWithRetry fails. It fails for sockets, devices and FIFOs, and if an
// entry already exists at the destination. Nothing is overwritten. A failure after the new file is
// created, such as a full disk, is reported as FileExistsError, because the first attempt leaves a
// partial file.
//
// If `to` is inside `from`, the walk reaches it and copies it into itself until the path is too
// long. A directory that cannot be listed, even for lack of memory, is copied as an empty one.
void CopyDirectoryContents(FileLocation const& from, FileLocation const& to);

// Remove a directory with its contents, or only the contents. Throw DirectoryNotFoundError if
// nothing exists at `location`. Anything but a directory is not removed: DeleteRecursive throws
// DirectoryNotFoundError, DeleteContents does nothing.
//
// Devices, sockets, FIFOs and links to them are not removed. Neither are the entries of a directory
// that cannot be listed. Removing their directory then throws. DeleteContents leaves them in
// `location` itself without an error.
//
// Deliberate: a symbolic link to a directory counts as a directory, also inside the tree. The type
// of an entry is that of its target (files/unix/FileStats.h). The contents of the target are
// removed; then removing the link throws. DeleteContents does not remove `location` itself, so it
// returns normally if `location` is such a link.
void DeleteRecursive(FileLocation const& location);
void DeleteContents(FileLocation const& location);

// Like the functions above, but do nothing if nothing exists at `location`.
void ForceDeleteRecursive(FileLocation const& location);
void ForceDeleteContents(FileLocation const& location);
