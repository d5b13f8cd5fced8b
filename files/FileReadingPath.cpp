#include "files/FileReadingPath.h"

FileReadingPath::FileReadingPath(FileLocation const& where)
    : UnixPlatform::FileReadingPath(where) {}

void FileReadingPath::OpenExisting(FileLocation const& where) {
    UnixPlatform::FileReadingPath::OpenExisting(where);
}
