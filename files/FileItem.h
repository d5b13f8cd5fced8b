// A location and the state of the file there: the portable class.
#pragma once

#include <cstdint>

#include "files/Instant.h"
#include "files/unix/FileItem.h"

class FileLocation;
class FileRetryLog;

// The contract is that of the base class. Items of the two classes are converted by copying.
class FileItem : public UnixPlatform::FileItem {
public:
    // An item with no location, in the state StatsNothingThere.
    FileItem() = default;

    // Throws like ThrowFileError if `where` cannot be examined: normally FileNotFoundError, because
    // nothing exists there or it is a dangling link.
    explicit FileItem(FileLocation const& where);
    FileItem(UnixPlatform::FileItem const& item);

    // Returns the CRC-32/BZIP2 of the file's bytes (polynomial 0x04C11DB7, most significant bit
    // first). Reads the whole file; throws like ReadFile.
    std::uint32_t Checksum() const;

    // Calls SetModificationTime with the retries of FileRetry.h. Every exception leads to a retry,
    // even EmptyFileLocationError. Defined in FileRetry.cpp.
    void SetModificationTimeWithRetry(Instant time, FileRetryLog const& log);
};
