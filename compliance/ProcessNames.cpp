#include "compliance/ProcessNames.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "strings/Stringy.h"

namespace {

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};
using DirectoryPtr = std::unique_ptr<DIR, CloseDirectory>;

// Reads the next entry into `storage`. Returns null at the end and after an error.
dirent* ReadEntry(DIR* directory, dirent& storage) {
    dirent* entry = nullptr;
    // readdir_r is deprecated, because a name may not fit into the storage. On Linux it fits: a
    // name has at most 255 bytes, the C library rejects longer ones, and dirent has room for 256.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    int const error = readdir_r(directory, &storage, &entry);
#pragma GCC diagnostic pop
    return error == 0 ? entry : nullptr;
}

bool IsDirectoryInProc(char const* name) {
    Stringy path("/proc/");
    path += name;
    struct stat status;
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

// The number 0 is not a process, because strtol also returns 0 if there is no number.
bool IsProcess(char const* name) {
    return std::strtol(name, nullptr, 10) != 0 && IsDirectoryInProc(name);
}

constexpr size_t headSize = 512;
constexpr size_t procPathSize = 40;

// The path "/proc/<id>/<leaf>".
class ProcPath {
public:
    ProcPath(unsigned int processId, char const* leaf) {
        static_cast<void>(std::snprintf(text.data(), text.size(), "/proc/%u/%s", processId, leaf));
    }

    char const* c_str() const { return text.data(); }

private:
    std::array<char, procPathSize> text;
};

// Returns the first 511 bytes of a file, NUL-terminated. Empty if the file cannot be read.
char const* ReadHead(ProcPath const& path, char (&head)[headSize]) {
    size_t length = 0;
    if (int const fd = open(path.c_str(), O_RDONLY | O_CLOEXEC); fd >= 0) {
        ssize_t const got = read(fd, head, headSize - 1);
        length = got > 0 ? static_cast<size_t>(got) : 0;
        close(fd);
    }
    head[length] = '\0';
    return head;
}

// Returns the target of the link to the program of a process. Empty if it cannot be read.
std::string_view ReadTarget(unsigned int processId, char* target, size_t size) {
    ssize_t const length = readlink(ProcPath(processId, "exe").c_str(), target, size);
    return {target, length > 0 ? static_cast<size_t>(length) : 0};
}

// Returns the last component, or the whole text if its only slash is the first byte.
std::string_view WithoutDirectories(std::string_view target) {
    size_t const slash = target.rfind('/');
    return slash == std::string_view::npos || slash == 0 ? target : target.substr(slash + 1);
}

// Returns the text between the first "(" and the first ")". Empty if there is none, and if the
// first ")" is before the first "(".
std::string_view BetweenParentheses(char const* text) {
    char const* const open = std::strchr(text, '(');
    char const* const close = std::strchr(text, ')');
    if (!open || !close || close <= open)
        return {};
    return {open + 1, static_cast<size_t>(close - open) - 1};
}

// Parses a number like scanf's "%d", after any whitespace, and moves `text` past it. Returns
// false if there is none.
bool ReadInt(char const*& text, int& number) {
    char* end = nullptr;
    // A number that is too large is truncated to its low bits.
    number = static_cast<int>(std::strtol(text, &end, 10));
    bool const found = end != text;
    text = end;
    return found;
}

// Returns the text after the first occurrence of the label, or null.
char const* FindValueAfter(char const* text, char const* label) {
    char const* const found = std::strstr(text, label);
    return found ? found + std::strlen(label) : nullptr;
}

void ReadParent(char const* status, long long& parentProcessId) {
    char const* rest = FindValueAfter(status, "\nPPid:");
    int parent = 0;
    if (rest && ReadInt(rest, parent))
        parentProcessId = parent;
}

void ReadUsers(char const* status, long long& realUserId, long long& effectiveUserId) {
    char const* rest = FindValueAfter(status, "\nUid:");
    int real = 0;
    int effective = 0;
    if (rest && ReadInt(rest, real) && ReadInt(rest, effective)) {
        realUserId = static_cast<std::uint32_t>(real);
        effectiveUserId = static_cast<std::uint32_t>(effective);
    }
}

// Copies the text and a NUL. Returns false if they do not fit or the text is empty.
bool CopyOut(std::string_view text, char* result, unsigned int capacity) {
    if (text.empty() || text.size() >= capacity)
        return false;
    std::memcpy(result, text.data(), text.size());
    result[text.size()] = '\0';
    return true;
}

} // namespace

bool AnyProcess(std::function<bool(unsigned int id)> const& matches) {
    DirectoryPtr const directory(opendir("/proc"));
    if (!directory)
        return false;
    dirent storage;
    while (dirent const* const entry = ReadEntry(directory.get(), storage)) {
        char const* const name = entry->d_name;
        if (IsProcess(name) && matches(static_cast<unsigned int>(std::strtoul(name, nullptr, 10))))
            return true;
    }
    return false;
}

bool ProcessIdToName(unsigned int processId, char* name, unsigned int capacity,
                     long long& parentProcessId, long long& realUserId,
                     long long& effectiveUserId) {
    parentProcessId = realUserId = effectiveUserId = -1;

    char target[processNameCapacity];
    char stat[headSize];
    std::string_view const linked = ReadTarget(processId, target, processNameCapacity);
    std::string_view const found =
        linked.empty() ? BetweenParentheses(ReadHead(ProcPath(processId, "stat"), stat))
                       : WithoutDirectories(linked);

    char status[headSize];
    ReadHead(ProcPath(processId, "status"), status);
    ReadParent(status, parentProcessId);
    ReadUsers(status, realUserId, effectiveUserId);
    return CopyOut(found, name, capacity);
}

bool ProcessIdToPath(unsigned int processId, char* path, unsigned int capacity) {
    char target[processNameCapacity];
    return CopyOut(ReadTarget(processId, target, processNameCapacity - 1), path, capacity);
}

bool ProcessIdToPathWorks() {
    constexpr int unknown = 2;
    static int works = unknown;
    if (works == unknown) {
        char path[1024];
        works = ProcessIdToPath(static_cast<unsigned int>(getpid()), path, sizeof path) ? 1 : 0;
    }
    return works == 1;
}
