#include "data/DataReader.h"

#include "data/Buffer.h"

namespace {

constinit EmptyDataReader empty;

} // namespace

DataReader::~DataReader() = default;

bool DataReader::Unfinished() const { return !Finished(); }

DataReader& DataReader::operator>>(Data target) {
    Buffer buffer(target);
    while (Unfinished()) {
        if (buffer.IsFull())
            return *this;
        *this >> buffer;
    }
    if (!buffer.IsFull())
        throw NoMoreData();
    return *this;
}

DataReader& DataReader::Empty() { return empty; }

bool EmptyDataReader::Finished() const { return true; }

DataReader& EmptyDataReader::operator>>(Buffer&) { return *this; }
