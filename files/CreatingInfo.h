// Permissions for new files and directories.
#pragma once

#include <cstdint>

// The permission bits for mkdir(2), from which the system removes the umask of the process.
struct DirectoryCreatingInfo {
    std::uint32_t permissions = 0777;
};

// The permission bits of a file, set exactly; the umask does not apply.
//
// Exception: with the value of `systemDefault`, no permissions are set. The file then has the
// permissions of its creation, 0666 less the umask. So exactly 0666 cannot be requested.
struct FileCreatingInfo {
    static constexpr std::uint32_t systemDefault = 0666;

    std::uint32_t permissions = systemDefault;
};
