// The entries of a directory, one after the other: the portable form.
#pragma once

#include "files/FileItem.h"
#include "files/unix/FileLoop.h"

class FileLocation;
enum TarvikFileType : int;

// The platform's loop, whose contract holds. The constructors and operations below are never
// tolerant: such a loop stops at a dangling link with the error of stat(2), normally
// FileNotFoundError. The inherited `init` can still begin a tolerant loop.
//
//     for (FileLoop loop(directory, "*.txt", false); loop.HasItem(); ++loop)
//         Use(*loop);
class FileLoop : public UnixPlatform::FileLoop {
public:
    // Empty.
    FileLoop() = default;

    // A null wildcard matches everything. The bool is ignored.
    FileLoop(FileLocation const& where, char const* wildcard, bool);
    void Start(FileLocation const& where, char const* wildcard, bool);
    void WildcardStart(FileLocation const& where, char const* wildcard);

    // The names that end in the extension of the kind.
    FileLoop(FileLocation const& where, TarvikFileType type);
    void Start(FileLocation const& where, TarvikFileType type);

    // The present entry, in a slot that the next use of these fills anew; `++` leaves it alone.
    // Throw InvalidIteratorPosition if there is none.
    FileItem const& operator*() const;
    FileItem const* operator->() const;

private:
    mutable FileItem slot;
};
