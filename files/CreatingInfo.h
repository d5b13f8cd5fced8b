// How a file or a directory is to be created.
#pragma once

#include <cstdint>

// The permission bits for mkdir(2), which takes the umask of the process away from them.
struct DirectoryCreatingInfo {
    std::uint32_t permissions = 0777;
};

// The permission bits of a file, set as they are, whatever the umask.
//
// `systemDefault` is not set at all. The file keeps what the system gave it, which is
// these bits less the umask.
struct FileCreatingInfo {
    static constexpr std::uint32_t systemDefault = 0666;

    std::uint32_t permissions = systemDefault;
};
