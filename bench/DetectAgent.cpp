// The program that ProcessesBench measures. The exit status is 0 if the agent is running, else 1.
//
//     DetectAgent         calls IsRunning
//     DetectAgent bare    makes the same system calls as IsRunning, and compares the names
#include <cstdio>
#include <cstring>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "compliance/AgentPresence.h"

namespace {

bool IsAgentBare(char const* process) {
    char path[64];
    struct stat stats;
    std::snprintf(path, sizeof path, "/proc/%s", process);
    if (stat(path, &stats) != 0)
        return false;
    char bytes[4096];
    std::snprintf(path, sizeof path, "/proc/%s/exe", process);
    ssize_t const length = readlink(path, bytes, sizeof bytes);
    bool const found =
        length > 0 &&
        std::string_view(bytes, static_cast<std::size_t>(length)).ends_with("/VeskaClient");
    std::snprintf(path, sizeof path, "/proc/%s/status", process);
    int const status = open(path, O_RDONLY | O_CLOEXEC);
    if (status >= 0) {
        static_cast<void>(!read(status, bytes, 511));
        close(status);
    }
    return found;
}

bool IsRunningBare() {
    DIR* const directory = opendir("/proc");
    bool found = false;
    while (dirent const* const entry = found ? nullptr : readdir(directory))
        found = entry->d_name[0] >= '1' && entry->d_name[0] <= '9' && IsAgentBare(entry->d_name);
    closedir(directory);
    return found;
}

} // namespace

int main(int count, char** arguments) {
    bool const bare = count == 2 && std::strcmp(arguments[1], "bare") == 0;
    return (bare ? IsRunningBare() : UnixPlatform::IsRunning()) ? 0 : 1;
}
