// The file descriptor of a file opened for reading: the implementation of files/FileReadingPath.h.
#pragma once

#include "files/unix/FileLocation.h"

namespace UnixPlatform {

class FileReader;
class FileWriter;

// Errors are specified in files/FileReadingPath.h, and operations here.
class FileReadingPath {
public:
    // Not open.
    FileReadingPath() = default;
    explicit FileReadingPath(FileLocation const& where);

    // Closes the file without flushing it. An error of close(2) is ignored.
    virtual ~FileReadingPath();

    FileReadingPath(FileReadingPath const&) = delete;
    FileReadingPath& operator=(FileReadingPath const&) = delete;

    // Opens an existing file for reading. Stores `where`, even if the open fails; later exceptions
    // name it. The file descriptor is close-on-exec.
    //
    // A file that is already open is not closed, and its file descriptor leaks: call Close first.
    //
    // Deliberate: the path "/proc/kmsg" (case-insensitive) throws FileIOError with the code 0
    // before anything is opened. Reading it would block until the next message of the kernel. Other
    // paths of that file are not detected.
    virtual void OpenExisting(FileLocation const& where);

    // The result of Length for a file whose length is unknown.
    static constexpr unsigned long long unknownLength = ~0ULL;

    // Returns the current length in bytes, or unknownLength if seeking to the end fails with
    // EINVAL, as for many files of /proc. From then on the object always returns unknownLength,
    // whatever it opens and even if it is closed. The position of the file descriptor does not
    // change.
    //
    // Otherwise throws FileNotOpenError (code 0) if the path is not open; other failures throw like
    // ThrowError.
    unsigned long long Length() const;

    // Closes the file. Does nothing if the path is not open. If close(2) fails, the file counts as
    // closed, and the function throws like ThrowError of this class.
    void Close();

    // Throws the exception for `errorNumber` in the column "reading path" of
    // files/unix/FileErrorMappers.h, with the path of `where`. Returns if `errorNumber` is 0.
    void ThrowError(FileLocation const& where, int errorNumber) const;

protected:
    friend class FileReader;
    friend class FileWriter;

    FileLocation location;
    int descriptor = -1;
    mutable bool lengthUnknown = false;
};

} // namespace UnixPlatform
