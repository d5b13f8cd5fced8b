// Creates directory entries of every kind except devices, and random trees, and describes them for
// comparison. Does not use the code under test.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "tests/files/Files.h"
#include "tests/support/Bytes.h"

// The kinds that MakeEntry creates. The target of a link is next to it, with "-target" appended to
// the name of the link.
inline std::vector<std::string> const everyKind = {
    "file",           "directory",     "full directory", "link to file", "link to directory",
    "link to socket", "dangling link", "FIFO",           "socket"};

inline bool IsRegularFileKind(std::string const& kind) {
    return kind == "file" || kind == "link to file";
}

inline void MakeSocket(std::string const& path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path))
        throw std::length_error(path);
    std::memcpy(address.sun_path, path.c_str(), path.size());
    int const descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
    int const result = bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof(address));
    int const error = errno;
    close(descriptor);
    if (result != 0)
        throw std::system_error(error, std::generic_category(), path);
}

inline void MakeEntry(std::string const& path, std::string const& kind) {
    namespace fs = std::filesystem;
    if (kind.starts_with("link to ")) {
        MakeEntry(path + "-target", kind.substr(std::strlen("link to ")));
        fs::create_symlink(path + "-target", path);
    } else if (kind == "file") {
        WriteWholeFile(path, "content");
    } else if (kind == "directory") {
        fs::create_directory(path);
    } else if (kind == "full directory") {
        fs::create_directory(path);
        WriteWholeFile(path + "/inside", "content");
    } else if (kind == "dangling link") {
        fs::create_symlink(path + "-target", path);
    } else if (kind == "FIFO") {
        if (mkfifo(path.c_str(), 0666) != 0)
            throw std::system_error(errno, std::generic_category(), path);
    } else if (kind == "socket") {
        MakeSocket(path);
    } else {
        throw std::invalid_argument(kind);
    }
}

// Returns a description of the entry at a path, without following symbolic links: "nothing", "file
// <content>", "directory", "link to <target>", "FIFO", "socket", "other".
inline std::string DescribeEntry(std::string const& path) {
    namespace fs = std::filesystem;
    switch (fs::symlink_status(path).type()) {
    case fs::file_type::not_found:
        return "nothing";
    case fs::file_type::regular:
        return "file " + Shown(ReadWholeFile(path));
    case fs::file_type::directory:
        return "directory";
    case fs::file_type::symlink:
        return "link to " + fs::read_symlink(path).string();
    case fs::file_type::fifo:
        return "FIFO";
    case fs::file_type::socket:
        return "socket";
    default:
        return "other";
    }
}

// Maps the path of each entry, relative to the root, to its description.
using Tree = std::map<std::string, std::string>;

inline Tree DescribeTree(std::string const& root) {
    namespace fs = std::filesystem;
    Tree tree;
    for (auto const& entry : fs::recursive_directory_iterator(root))
        tree[entry.path().string().substr(root.size() + 1)] = DescribeEntry(entry.path());
    return tree;
}

inline mode_t ModeOf(std::string const& path) {
    struct stat stats;
    if (lstat(path.c_str(), &stats) != 0)
        throw std::system_error(errno, std::generic_category(), path);
    return stats.st_mode & 07777;
}

// Fills the directory with files, directories and links to `linkTarget`, a file outside of it.
// Names and contents use every byte that they may contain.
inline void MakeRandomTree(std::mt19937& random, std::string const& root,
                           std::string const& linkTarget, std::size_t entries) {
    namespace fs = std::filesystem;
    std::string const anyByte = EveryByte();
    std::string nameBytes = anyByte.substr(1);
    nameBytes.erase(std::remove(nameBytes.begin(), nameBytes.end(), '/'), nameBytes.end());
    std::vector<std::string> directories = {root};
    for (std::size_t i = 0; i < entries; ++i) {
        std::string const path = directories[random() % directories.size()] + '/' +
                                 std::to_string(i) + RandomBytes(random, random() % 20, nameBytes);
        unsigned long const choice = random() % 8;
        if (choice < 3) {
            fs::create_directory(path);
            directories.push_back(path);
        } else if (choice < 4) {
            fs::create_symlink(linkTarget, path);
        } else {
            std::size_t const size = random() % 4 != 0 ? random() % 3000 : 70'000;
            WriteWholeFile(path, RandomBytes(random, size, anyByte));
        }
    }
}

// Returns the expected description of a copy of the tree, in which links to files become files.
inline Tree DescribeTreeThroughLinks(std::string const& root) {
    Tree tree = DescribeTree(root);
    for (auto& [path, description] : tree)
        if (description.starts_with("link to "))
            description = DescribeEntry(description.substr(std::strlen("link to ")));
    return tree;
}
