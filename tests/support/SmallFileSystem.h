// A tmpfs of a given size in a sandbox, to test full disks, read-only disks and moves between file
// systems.
//
// REQUIRES: the body of a Sandbox that has not dropped its privileges.
#pragma once

#include <cerrno>
#include <filesystem>
#include <fstream>

#include <sys/mount.h>

struct SmallFileSystemOptions {
    // The size in bytes, rounded up to whole pages; 0 means no limit.
    size_t bytes = 1024 * 1024;
    // The maximum number of files and directories, including the root; 0 means no limit.
    size_t inodes = 0;
    // The octal mode of the root directory.
    std::string mode = "0755";
};

class SmallFileSystem {
public:
    // Mounts the file system at the directory, which is created if missing. Throws
    // std::system_error on failure, like the members below.
    explicit SmallFileSystem(std::string const& directory,
                             SmallFileSystemOptions const& options = {})
        : where(directory) {
        std::filesystem::create_directories(where);
        std::string const settings = "size=" + std::to_string(options.bytes) +
                                     ",nr_inodes=" + std::to_string(options.inodes) +
                                     ",mode=" + options.mode;
        Check(mount("tmpfs", where.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, settings.c_str()));
    }

    ~SmallFileSystem() { umount2(where.c_str(), MNT_DETACH); }

    SmallFileSystem(SmallFileSystem const&) = delete;
    SmallFileSystem& operator=(SmallFileSystem const&) = delete;

    std::string const& path() const { return where; }
    std::string operator/(std::string const& name) const { return where + '/' + name; }

    // Throws with the code EBUSY while a file is open for writing.
    void MakeReadOnly() { Remount(MS_RDONLY); }
    void MakeWritable() { Remount(0); }

    // Fills the file system with a file, whose removal frees the space. Other files can still grow
    // to the end of their last page.
    void FillUp(std::string const& name = "filler") {
        std::ofstream file(*this / name, std::ios::binary);
        std::string const page(4096, 'x');
        while (file << page << std::flush) {
        }
    }

private:
    void Remount(unsigned long flags) {
        Check(mount("tmpfs", where.c_str(), "tmpfs", MS_REMOUNT | MS_NOSUID | MS_NODEV | flags,
                    nullptr));
    }

    void Check(int result) const {
        if (result != 0)
            throw std::system_error(errno, std::generic_category(), where);
    }

    std::string where;
};
