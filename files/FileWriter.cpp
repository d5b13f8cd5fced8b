#include "files/FileWriter.h"

#include "files/FileWritingPath.h"

FileWriter::FileWriter(FileWritingPath const& path, unsigned long long position)
    : writer(path, position) {}

FileWriter::FileWriter(FileWritingPath const& path, WritePositionEndOfFile)
    : writer(path, path.Length()) {}

void FileWriter::Start(FileWritingPath const& path, unsigned long long position) {
    writer.Start(path, position);
}

DataWriter& FileWriter::operator<<(ConstData data) {
    writer << data;
    return *this;
}
