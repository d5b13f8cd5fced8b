#include "files/FileWritingPath.h"

FileWritingPath::FileWritingPath(FileLocation const& where) { OpenExisting(where); }

FileWritingPath::FileWritingPath(FileLocation const& where, OpenExistingFile) {
    OpenExisting(where);
}

FileWritingPath::FileWritingPath(FileLocation const& where, OpenExistingFileOrNewFile) {
    OpenExistingOrNew(where);
}

FileWritingPath::FileWritingPath(FileLocation const& where, OpenNewFile) { OpenNew(where); }

FileWritingPath::FileWritingPath(FileLocation const& where, OpenNewFileOrAsNewFile) {
    OpenNewOrAsNew(where);
}

void FileWritingPath::OpenExisting(FileLocation const& where) {
    UnixPlatform::FileWritingPath::OpenExisting(where);
}

void FileWritingPath::OpenExistingOrNew(FileLocation const& where) {
    UnixPlatform::FileWritingPath::OpenExistingOrNew(where);
}

void FileWritingPath::OpenNew(FileLocation const& where) {
    UnixPlatform::FileWritingPath::OpenNew(where);
}

void FileWritingPath::OpenNewOrAsNew(FileLocation const& where) {
    UnixPlatform::FileWritingPath::OpenNewOrAsNew(where);
}
