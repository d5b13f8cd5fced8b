// Reads and writes small files and examines descriptors, without the code under test.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include <fcntl.h>

inline void WriteWholeFile(std::string const& path, std::string const& content) {
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string ReadWholeFile(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// Returns the file descriptors of this process that refer to the file.
inline std::set<int> DescriptorsOn(std::string const& path) {
    std::set<int> found;
    for (auto const& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry.path(), gone) == path)
            found.insert(std::stoi(entry.path().filename()));
    }
    return found;
}

// A file of the system whose reported length exceeds its content, as for most files of /sys.
inline constexpr char const* fileWithExcessiveLength = "/sys/devices/system/cpu/online";

// Returns the access mode and the status flags.
inline int OpenFlagsOf(int descriptor) { return fcntl(descriptor, F_GETFL); }

inline bool IsClosedOnExec(int descriptor) { return fcntl(descriptor, F_GETFD) & FD_CLOEXEC; }
