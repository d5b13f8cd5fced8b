// What stands at a location, together with the location itself: the portable form.
#pragma once

#include <cstdint>

#include "files/Instant.h"
#include "files/unix/FileItem.h"

class FileLocation;
class FileRetryLog;

// As the platform's item, whose contract holds, and convertible from it by copying.
class FileItem : public UnixPlatform::FileItem {
public:
    // Nothing there.
    FileItem() = default;

    // Throws what ThrowFileError does if nothing stands there or a link is broken, normally
    // FileNotFoundError.
    explicit FileItem(FileLocation const& where);
    FileItem(UnixPlatform::FileItem const& item);

    // The CRC-32/BZIP2 of the file's bytes (polynomial 0x04C11DB7, most significant bit first).
    // Reads the whole file; throws what ReadFile throws.
    std::uint32_t Checksum() const;

    // SetModificationTime under the retries of FileRetry.h, where it is defined. Here no exception
    // ends the retries early.
    void SetModificationTimeWithRetry(Instant time, FileRetryLog const& log);
};
