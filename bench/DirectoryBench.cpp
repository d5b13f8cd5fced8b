// Sorted listing of a directory with the status of each entry: FileLoop, compared with scandir(3),
// alphasort(3) and lstat(2).
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include "bench/Bench.h"
#include "bench/Inputs.h"
#include "files/FileLocation.h"
#include "files/FileLoop.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

struct Entries {
    explicit Entries(std::size_t entryCount) : count(entryCount) {
        Inputs::Numbers numbers(1);
        for (std::size_t i = 0; i < count; ++i) {
            // Ascending numbers suffice, because readdir(3) returns the entries unsorted.
            std::string const name = "baseline-" + std::to_string(i) + ".txt";
            std::ofstream(directory / name) << std::string(numbers.Between(0, 99), 'x');
        }
    }

    TemporaryDirectory directory;
    std::size_t const count;
};

// Both walks call `take` with the path and the status of each entry.
template <class Take>
void WalkOurs(Entries const& entries, Take take) {
    FileLocation const where = MakeFileLocation(entries.directory.path().c_str());
    for (FileLoop loop(where, nullptr, false); loop.HasItem(); ++loop) {
        FileItem const& item = *loop;
        take(item.Location().Text(), item.Link());
    }
}

int IsRealEntry(dirent const* entry) {
    return std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0;
}

template <class Take>
void WalkScandir(Entries const& entries, Take take) {
    dirent** list = nullptr;
    int const count = scandir(entries.directory.path().c_str(), &list, IsRealEntry, alphasort);
    std::string path = entries.directory.path() + "/";
    std::size_t const base = path.size();
    for (int i = 0; i < count; ++i) {
        path.replace(base, std::string::npos, list[i]->d_name);
        struct stat stats;
        if (lstat(path.c_str(), &stats) == 0)
            take(path.c_str(), stats);
        std::free(list[i]);
    }
    std::free(list);
}

// Returns the total size of all entries.
template <class Walk>
std::size_t TotalSize(Entries const& entries, Walk walk) {
    std::size_t total = 0;
    walk(entries, [&](char const*, struct stat const& stats) {
        total += static_cast<std::size_t>(stats.st_size);
    });
    return total;
}

template <class Walk>
std::string Listing(Entries const& entries, Walk walk) {
    std::string text;
    walk(entries, [&](char const* path, struct stat const& stats) {
        text.append(path).append(" ").append(std::to_string(stats.st_size));
        text.append(" ").append(std::to_string(stats.st_ino)).append("\n");
    });
    return text;
}

void AddOperation(std::size_t count) {
    auto const make = [count]() -> Entries const& {
        static std::unique_ptr<Entries> made;
        if (!made || made->count != count)
            made = std::make_unique<Entries>(count);
        return *made;
    };
    auto const ours = [](Entries const& entries, auto take) {
        WalkOurs(entries, take);
    };
    auto const scan = [](Entries const& entries, auto take) {
        WalkScandir(entries, take);
    };

    Operation<Entries> operation("Directory/entries-" + std::to_string(count), make);
    operation.Add(
        "ours", [=](Entries const& entries) { return TotalSize(entries, ours); },
        [=](Entries const& entries) { return Listing(entries, ours); });
    operation.Add(
        "scandir", [=](Entries const& entries) { return TotalSize(entries, scan); },
        [=](Entries const& entries) { return Listing(entries, scan); });
}

} // namespace

void RegisterOperations() {
    setenv("TMPDIR", access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp", 0);
    for (std::size_t const count : {10, 1000, 20000})
        AddOperation(count);
}
