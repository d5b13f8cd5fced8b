#include "files/FileReader.h"

#include "files/FileReadingPath.h"
#include "files/FileWritingPath.h"

FileReader::FileReader(FileReadingPath const& path, unsigned long long position) {
    reader.Start(path, position);
}

FileReader::FileReader(FileWritingPath const& path, unsigned long long position) {
    reader.Start(path, position);
}

void FileReader::Start(FileReadingPath const& path, unsigned long long position) {
    reader.Start(path, position);
}

bool FileReader::Finished() const { return !reader.Unfinished(); }

DataReader& FileReader::operator>>(Buffer& target) {
    reader >> target;
    return *this;
}

DataReader& FileReader::operator>>(Data target) {
    reader >> target;
    return *this;
}
