// Detects different paths that name the same file.
#pragma once

#include <compare>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

// The device and inode of a file, or of the directory of a file that does not exist.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    // The name within the directory; empty for an existing file.
    std::string newName = {};

    auto operator<=>(FileIdentity const&) const = default;
};

// Returns the identity of a file, following symbolic links. A dangling link counts as a file that
// does not exist. Returns nullopt for an empty path, and if stat(2) fails for both the file and its
// directory. If the path ends with "/", a failure for the file is sufficient.
std::optional<FileIdentity> IdentifyFile(std::string const& path);

// A file on the command line: the option or operand that names it, and its path. For standard
// output, the path is used only in messages.
struct NamedFile {
    std::string name;
    std::string path;
    bool isStandardOutput = false;
};

// Returns the identity of a file on the command line. Returns nullopt for standard output unless it
// is a regular file.
std::optional<FileIdentity> IdentifyFile(NamedFile const& file);

// Throws CommandLineError if an output is the same file as another output or as an input, because
// publishing the output would replace the other file.
void RefuseSharedFiles(std::vector<NamedFile> const& outputs, std::vector<NamedFile> const& inputs);
