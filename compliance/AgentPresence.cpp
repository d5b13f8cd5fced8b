#include "compliance/AgentPresence.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include <dirent.h>
#include <sys/stat.h>

#include "compliance/ProcessNames.h"
#include "strings/Stringy.h"

namespace {

constexpr char const* agentFile = "/opt/VeskaClient/bin/VeskaClient";
constexpr char const* agentName = "VeskaClient";
constexpr char const* processDirectory = "/proc";
constexpr unsigned int nameCapacity = 1024;

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};
using DirectoryPtr = std::unique_ptr<DIR, CloseDirectory>;

// The next entry, put into the storage, or null at the end and after an error.
dirent* ReadEntry(DIR* directory, dirent& storage) {
    dirent* entry = nullptr;
    // Deprecated because a name may not fit into the storage; here it does: a name on Linux has at
    // most 255 bytes, the C library refuses a longer one, and dirent has room for 256.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    int const error = readdir_r(directory, &storage, &entry);
#pragma GCC diagnostic pop
    return error == 0 ? entry : nullptr;
}

// Leaves out everything that does not begin with a number, and the number 0.
bool BeginsWithNumber(char const* name) { return std::strtol(name, nullptr, 10) != 0; }

bool IsDirectoryInProc(char const* name) {
    Stringy path("/proc/");
    path += name;
    struct stat status;
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

bool HasNameOfAgent(unsigned int process) {
    char name[nameCapacity];
    long long parent = 0;
    long long realUser = 0;
    long long effectiveUser = 0;
    return ProcessIdToName(process, name, nameCapacity, parent, realUser, effectiveUser) &&
           std::strcmp(name, agentName) == 0;
}

bool IsAgent(char const* entryName) {
    if (!BeginsWithNumber(entryName) || !IsDirectoryInProc(entryName))
        return false;
    // Process ids have 32 bits; what else a name may hold is cut to that.
    return HasNameOfAgent(static_cast<unsigned int>(std::strtoul(entryName, nullptr, 10)));
}

} // namespace

int UnixPlatform::IsInstalled() {
    struct stat status;
    return stat(agentFile, &status) == 0 ? 0 : -1;
}

bool UnixPlatform::IsRunning() {
    DirectoryPtr const directory(opendir(processDirectory));
    if (!directory)
        return false;
    dirent storage;
    while (dirent const* const entry = ReadEntry(directory.get(), storage))
        if (IsAgent(entry->d_name))
            return true;
    return false;
}

bool UnixPlatform::IsConfigured() { return true; }
