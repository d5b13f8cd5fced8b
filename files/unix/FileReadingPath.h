// One open descriptor on a file, on the system's side. See files/FileReadingPath.h.
#pragma once

#include "files/unix/FileLocation.h"

namespace UnixPlatform {

class FileReader;
class FileWriter;

// What the portable class of this name promises holds here, on locations of the platform.
class FileReadingPath {
public:
    // Nothing open.
    FileReadingPath() = default;
    explicit FileReadingPath(FileLocation const& where);

    // Closes; what the close has to report is lost. It flushes nothing.
    virtual ~FileReadingPath();

    FileReadingPath(FileReadingPath const&) = delete;
    FileReadingPath& operator=(FileReadingPath const&) = delete;

    // Records `where`, also when the open fails; later failures name it. The descriptor is closed
    // on exec.
    //
    // Deliberate: an open descriptor is not closed first, it is lost. And the text "/proc/kmsg", in
    // any case of letters, is refused with a plain FileIOError of code 0 before anything is opened,
    // since a read of it would wait for the kernel's next message; other names of that file are
    // not known here.
    virtual void OpenExisting(FileLocation const& where);

    // What Length yields for a file whose length nobody knows.
    static constexpr unsigned long long unknownLength = ~0ULL;

    // In bytes, asked of the system anew; unknownLength if the system refuses to seek to the end,
    // as it does for many files of /proc. From then on this object answers so without asking,
    // whatever it opens. The descriptor's position is kept.
    //
    // Throws FileNotOpenError (code 0) if nothing is open; what else fails goes to ThrowError.
    unsigned long long Length() const;

    // Harmless if nothing is open. The descriptor counts as gone also when close(2) fails, which
    // goes to ThrowError of this class.
    void Close();

    // Throws what the number means to an opened file, naming `where`; returns for 0. The table
    // stands in files/unix/FileErrorMappers.h.
    void ThrowError(FileLocation const& where, int errorNumber) const;

protected:
    friend class FileReader;
    friend class FileWriter;

    FileLocation location;
    int descriptor = -1;
    mutable bool lengthUnknown = false;
};

} // namespace UnixPlatform
