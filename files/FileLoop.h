// The entries of a directory, one after the other: the portable form.
#pragma once

#include "files/FileItem.h"
#include "files/unix/FileLoop.h"

class FileLocation;
enum TarvikFileType : int;

// As the platform's loop, whose contract holds, but never tolerant: each of these loops stops at a
// broken link with the error of the system's stat, normally FileNotFoundError.
//
//     for (FileLoop loop(directory, "*.txt", false); loop.HasItem(); ++loop)
//         Use(*loop);
class FileLoop : public UnixPlatform::FileLoop {
public:
    // Empty.
    FileLoop() = default;

    // A null wildcard matches everything. Deliberate: the bool is ignored.
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
