// Iterates over the entries of a directory, in a fixed order.
#pragma once

#include "data/DebuggableException.h"
#include "files/unix/FileItem.h"
#include "files/unix/FileLocation.h"

struct dirent;

namespace UnixPlatform {

// A snapshot of the names in a directory, taken at the start, without "." and "..". The order is
// that of alphasort(3), which is the collation of the locale. Each entry is examined when the loop
// reaches it.
//
//     for (FileLoop loop(directory, false, nullptr); loop.HasItem(); ++loop)
//         Use(loop.Item());
//
// A wildcard selects the names that match it (see FileName::MatchesWildCard). A tolerant loop
// delivers dangling links; any other loop stops at one.
//
// Error handling: a directory that does not exist or that scandir(3) cannot list, even for lack of
// memory, results in an empty loop. An entry that cannot be examined throws like ThrowFileError,
// from the start or from `++`. The loop is then at that entry, and `++` continues with the next
// one. An exception of init leaves the loop empty. Other failed allocations throw std::bad_alloc.
class FileLoop {
public:
    class Error : public DebuggableException {};
    // There is no current entry.
    class InvalidIteratorPosition : public Error {};

    // An empty loop.
    FileLoop() = default;
    // Calls init.
    FileLoop(FileLocation const& where, bool tolerateBrokenLinks, char const* wildcard);
    virtual ~FileLoop();
    FileLoop(FileLoop const&) = delete;
    FileLoop& operator=(FileLoop const&) = delete;

    // List the directory `where` and examine the first entry. The previous list is freed. A null
    // wildcard matches every name. If examining the entry throws, init leaves the loop empty, and
    // Start leaves it at the entry.
    void init(FileLocation const& where, bool tolerateBrokenLinks, char const* wildcard);
    void Start(FileLocation const& where, bool tolerateBrokenLinks, char const* wildcard);

    // Examines the next entry. Does nothing if there is no current entry.
    FileLoop& operator++();

    bool HasItem() const { return index < count; }

    // Returns the current entry, or the one examined last if there is no current entry.
    FileItem const& Item() const { return item; }

    // The steps of Start. A selector returns nonzero for the entries that the loop delivers.
    using Selector = int (*)(dirent const*);
    void DoScanDirectory(Selector selector, char const* wildcard, bool tolerateBrokenLinks);
    // Lists the directory of the last Start again, without examining entries.
    void BuildNameList(Selector selector, char const* wildcard);
    // Examines the current entry, if there is one. Throws like FileName::Set for its name, and like
    // ThrowFileError if it cannot be examined.
    void SetLoopItem(bool tolerateBrokenLinks);
    // Frees the entries and the array that scandir(3) allocated.
    static void EmptyScandirList(dirent** entries, int entryCount);

private:
    void Release();

    FileItem item;
    FileLocation directory;
    dirent** list = nullptr;
    int count = 0;
    int index = 0;
    bool tolerant = false;
};

} // namespace UnixPlatform
