// Iterates over the entries of a directory: the portable class.
#pragma once

#include "files/FileItem.h"
#include "files/unix/FileLoop.h"

class FileLocation;
enum TarvikFileType : int;

// The contract is that of the base class. The constructors, Start and WildcardStart start loops
// that are not tolerant: such a loop stops at a dangling link with the error of stat(2), normally
// FileNotFoundError. `UnixPlatform::FileLoop::init` can start a tolerant loop.
//
//     for (FileLoop loop(directory, "*.txt", false); loop.HasItem(); ++loop)
//         Use(*loop);
class FileLoop : public UnixPlatform::FileLoop {
public:
    // An empty loop.
    FileLoop() = default;

    // A null wildcard matches every name. The bool is ignored.
    FileLoop(FileLocation const& where, char const* wildcard, bool);
    void Start(FileLocation const& where, char const* wildcard, bool);
    void WildcardStart(FileLocation const& where, char const* wildcard);

    // The wildcard is "*" followed by the extension of the type.
    FileLoop(FileLocation const& where, TarvikFileType type);
    void Start(FileLocation const& where, TarvikFileType type);

    // Return the current entry, in a buffer that the next call of these functions overwrites; `++`
    // does not change it. Throw InvalidIteratorPosition if there is no current entry.
    FileItem const& operator*() const;
    FileItem const* operator->() const;

private:
    mutable FileItem slot;
};
