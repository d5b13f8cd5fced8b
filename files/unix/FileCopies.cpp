// Copies of files. See files/unix/FileOperations.h.
#include "files/unix/FileOperations.h"

#include <cstddef>

#include "data/Buffer.h"
#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "files/FileReadingLoop.h"
#include "files/FileReadingPath.h"
#include "files/FileWriter.h"
#include "files/FileWritingPath.h"
#include "files/unix/UnixFileInfo.h"

namespace {

constexpr std::size_t copyChunkSize = 65536;

void CopyBytes(FileReadingPath const& source, FileWritingPath const& target) {
    unsigned char chunk[copyChunkSize];
    FileWriter writer(target, 0);
    for (FileReadingLoop loop(Data(chunk), source, 0); loop.Remaining() != 0; ++loop)
        writer << loop.Chunk();
}

// Deliberate: sets the time in memory only. On disk, the copy keeps the time at which it was
// written, because the contract of CopyFile requires the time of a new file.
void CopyModificationTime(UnixPlatform::FileLocation const& from,
                          UnixPlatform::FileLocation const& to) {
    UnixPlatform::UnixFileInfo const source(from);
    UnixPlatform::UnixFileInfo target(to);
    target.SetModificationTime(source.ModificationTime());
}

// Throws if the target exists by now.
void CopyFileContents(UnixPlatform::FileLocation const& from,
                      UnixPlatform::FileLocation const& to) {
    FileWritingPath target(to, FileWritingPath::OpenNewFile());
    FileReadingPath source(from);
    CopyBytes(source, target);
    target.Close();
    source.Close();
    CopyModificationTime(from, to);
}

void RequireRegularFile(UnixPlatform::FileLocation const& location) {
    if (!UnixPlatform::UnixFileInfo(location).IsRegularFile())
        throw FileNotFoundError(location, 0);
}

} // namespace

namespace UnixPlatform {

void CopyFile(FileLocation const& from, FileLocation const& to) {
    RequireRegularFile(from);
    if (!UnixFileInfo(to).IsNothingThere())
        throw FileExistsError(to, 0);
    CopyFileContents(from, to);
}

void ForceCopyFile(FileLocation const& from, FileLocation const& to) {
    RequireRegularFile(from);
    ForceNonexistence(to);
    CopyFileContents(from, to);
}

} // namespace UnixPlatform
