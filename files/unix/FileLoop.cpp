#include "files/unix/FileLoop.h"

#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <new>
#include <utility>

#include "files/unix/FileName.h"
#include "files/unix/WildcardMatch.h"

namespace {

int IsRealEntry(dirent const* entry) {
    return std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0;
}

bool Matches(dirent const* entry, char const* wildcard) {
    return wildcard == nullptr || UnixPlatform::MatchWildcard(entry->d_name, wildcard);
}

// Owns the result of scandir(3).
struct Entries {
    Entries(UnixPlatform::FileLocation const& directory,
            UnixPlatform::FileLoop::Selector selector) {
        count = scandir(directory.Text(), &list, selector, alphasort);
    }
    ~Entries() { UnixPlatform::FileLoop::EmptyScandirList(list, count); }
    Entries(Entries const&) = delete;
    Entries& operator=(Entries const&) = delete;

    // Frees the entries that do not match and replaces them by null, so that each is matched once.
    // Returns the number kept.
    // NOLINTNEXTLINE(readability-make-member-function-const): changes the listed entries
    int DropOthers(char const* wildcard) {
        int kept = 0;
        for (int i = 0; i < count; ++i) {
            if (Matches(list[i], wildcard))
                ++kept;
            else
                std::free(std::exchange(list[i], nullptr));
        }
        return kept;
    }

    // NOLINTNEXTLINE(readability-make-member-function-const): changes the listed entries
    void MoveKeptTo(dirent** target) {
        for (int i = 0; i < count; ++i) {
            if (list[i] != nullptr)
                *target++ = std::exchange(list[i], nullptr);
        }
    }

    dirent** list = nullptr;
    // Negative if the directory cannot be listed.
    int count = -1;
};

} // namespace

namespace UnixPlatform {

FileLoop::FileLoop(FileLocation const& where, bool tolerateBrokenLinks, char const* wildcard) {
    init(where, tolerateBrokenLinks, wildcard);
}

FileLoop::~FileLoop() { Release(); }

void FileLoop::init(FileLocation const& where, bool tolerateBrokenLinks, char const* wildcard) {
    try {
        Start(where, tolerateBrokenLinks, wildcard);
    } catch (...) {
        Release();
        throw;
    }
}

void FileLoop::Start(FileLocation const& where, bool tolerateBrokenLinks, char const* wildcard) {
    tolerant = tolerateBrokenLinks;
    directory = where;
    DoScanDirectory(IsRealEntry, wildcard, tolerateBrokenLinks);
}

FileLoop& FileLoop::operator++() {
    if (!HasItem())
        return *this;
    ++index;
    if (index >= count)
        Release();
    else
        SetLoopItem(tolerant);
    return *this;
}

void FileLoop::DoScanDirectory(Selector selector, char const* wildcard, bool tolerateBrokenLinks) {
    BuildNameList(selector, wildcard);
    SetLoopItem(tolerateBrokenLinks);
}

void FileLoop::BuildNameList(Selector selector, char const* wildcard) {
    Release();
    Entries entries(directory, selector);
    int const kept = entries.DropOthers(wildcard);
    if (kept == 0)
        return;
    auto** const names =
        // NOLINTNEXTLINE(bugprone-sizeof-expression): a list of pointers, as scandir allocates it
        static_cast<dirent**>(std::malloc(static_cast<std::size_t>(kept) * sizeof(dirent*)));
    if (names == nullptr)
        throw std::bad_alloc();
    entries.MoveKeptTo(names);
    list = names;
    count = kept;
}

void FileLoop::SetLoopItem(bool tolerateBrokenLinks) {
    if (!HasItem())
        return;
    // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): the list has `count` entries
    FileName const name(list[index]->d_name);
    int const error = item.Fill(directory, name);
    item.HandleGetError(error, tolerateBrokenLinks);
}

void FileLoop::Release() {
    EmptyScandirList(list, count);
    list = nullptr;
    count = 0;
    index = 0;
}

void FileLoop::EmptyScandirList(dirent** entries, int entryCount) {
    for (int i = 0; i < entryCount; ++i)
        std::free(entries[i]);
    std::free(entries);
}

} // namespace UnixPlatform
