// Whether two paths name one file, however they are written.
#pragma once

#include <compare>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

// The device and inode of a file. For a file that does not exist, those of its directory, and its
// name there.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    std::string newName = {};

    auto operator<=>(FileIdentity const&) const = default;
};

// Follows symbolic links. Returns nothing for a path that cannot name a file.
std::optional<FileIdentity> IdentifyFile(std::string const& path);

// The same for the path of an output, where "-" is standard output. Returns nothing for a standard
// output that is no regular file.
std::optional<FileIdentity> IdentifyOutput(std::string const& path);

// A file of a command line: the option or operand that names it, and its path.
struct NamedFile {
    std::string name;
    std::string path;
};

// Throws CommandLineError if one of the outputs is also another output or an input. Publishing an
// output replaces the other file, or one output replaces the other.
void RefuseSharedFiles(std::vector<NamedFile> const& outputs, std::vector<NamedFile> const& inputs);
