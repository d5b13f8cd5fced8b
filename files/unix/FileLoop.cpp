#include "files/unix/FileLoop.h"

#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <new>

#include "files/unix/FileName.h"
#include "files/unix/WildcardMatch.h"

namespace {

int IsRealEntry(dirent const* entry) {
    return std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0;
}

bool Matches(dirent const* entry, char const* wildcard) {
    return wildcard == nullptr || UnixPlatform::MatchWildcard(entry->d_name, wildcard);
}

// A directory may hold as many names as it likes, so the decision is kept with the entry and not
// made twice: what does not match is freed and leaves a null.
int DropOthers(dirent** entries, int count, char const* wildcard) {
    int kept = 0;
    for (int i = 0; i < count; ++i) {
        if (Matches(entries[i], wildcard)) {
            ++kept;
        } else {
            std::free(entries[i]);
            entries[i] = nullptr;
        }
    }
    return kept;
}

void MoveKept(dirent** from, int count, dirent** to) {
    for (int i = 0; i < count; ++i) {
        if (from[i] != nullptr)
            *to++ = from[i];
    }
}

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
    dirent** entries = nullptr;
    int const found = scandir(directory.Text(), &entries, selector, alphasort);
    if (found < 0 || entries == nullptr)
        return;
    int const kept = DropOthers(entries, found, wildcard);
    if (kept == 0) {
        EmptyScandirList(entries, found);
        return;
    }
    auto** const names =
        static_cast<dirent**>(std::malloc(static_cast<std::size_t>(kept) * sizeof(dirent*)));
    if (names == nullptr) {
        EmptyScandirList(entries, found);
        throw std::bad_alloc();
    }
    MoveKept(entries, found, names);
    std::free(entries);
    list = names;
    count = kept;
}

void FileLoop::SetLoopItem(bool tolerateBrokenLinks) {
    if (!HasItem())
        return;
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
