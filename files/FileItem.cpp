#include "files/FileItem.h"

#include "data/ChecksumReceiver.h"
#include "files/FileLocation.h"
#include "files/ReadFile.h"

FileItem::FileItem(FileLocation const& where) { HandleGetError(Fill(where), false); }

FileItem::FileItem(UnixPlatform::FileItem const& item) : UnixPlatform::FileItem(item) {}

// The receiver does not apply the final complement of the checksum.
std::uint32_t FileItem::Checksum() const {
    ChecksumReceiver receiver;
    ReadFile(Location(), receiver, 0);
    return ~receiver.Value();
}
