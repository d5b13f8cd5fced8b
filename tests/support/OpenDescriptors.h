// The file descriptors of this process.
#pragma once

#include <filesystem>
#include <iterator>

// Returns the number of open descriptors, including the one that the function itself uses.
inline long CountOpenDescriptors() {
    std::filesystem::directory_iterator const entries("/proc/self/fd");
    return std::distance(begin(entries), end(entries));
}
