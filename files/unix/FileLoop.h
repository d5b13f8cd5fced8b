// The entries of a directory, one after the other, in a fixed order.
#pragma once

#include "data/DebuggableException.h"
#include "files/unix/FileItem.h"
#include "files/unix/FileLocation.h"

struct dirent;

namespace UnixPlatform {

// A snapshot of the names in a directory, taken at the start, without "." and "..", in the order of
// alphasort(3), that is of the locale's collation. Each is examined when the loop comes to it.
//
//     for (FileLoop loop(directory, false, nullptr); loop.HasItem(); ++loop)
//         Use(loop.Item());
//
// With a wildcard only the names that it matches are delivered; FileName::MatchesWildCard tells
// how. A tolerant loop delivers broken links, any other stops at one.
//
// Error handling: a directory that is missing or can't be read gives an empty loop. An entry that
// can't be examined throws what ThrowFileError does, from the start or from the step that comes to
// it; the loop then stands at that entry and can be stepped on. std::bad_alloc for lack of memory.
class FileLoop {
public:
    class Error : public DebuggableException {};
    // There is no present entry.
    class InvalidIteratorPosition : public Error {};

    // Empty.
    FileLoop() = default;
    // Through init.
    FileLoop(FileLocation const& where, bool tolerateBrokenLinks, char const* wildcard);
    virtual ~FileLoop();
    FileLoop(FileLoop const&) = delete;
    FileLoop& operator=(FileLoop const&) = delete;

    // Begin anew; what the loop held is released. A null wildcard matches everything. If it throws,
    // init leaves the loop empty, and Start leaves it at the entry.
    void init(FileLocation const& where, bool tolerateBrokenLinks, char const* wildcard);
    void Start(FileLocation const& where, bool tolerateBrokenLinks, char const* wildcard);

    // Does nothing without a present entry.
    FileLoop& operator++();

    bool HasItem() const { return index < count; }

    // What was learnt of the present entry; the last one's without one.
    FileItem const& Item() const { return item; }

    // The steps of Start. A selector takes each entry and yields whether it belongs to the loop.
    using Selector = int (*)(dirent const*);
    void DoScanDirectory(Selector selector, char const* wildcard, bool tolerateBrokenLinks);
    // Lists the directory of the last Start anew; examines nothing.
    void BuildNameList(Selector selector, char const* wildcard);
    // Examines the present entry, if there is one. Throws what FileName::Set throws for its name,
    // and what ThrowFileError throws if it can't be examined.
    void SetLoopItem(bool tolerateBrokenLinks);
    // Gives back what scandir(3) made: the entries and their array.
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
