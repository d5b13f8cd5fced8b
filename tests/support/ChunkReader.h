// A DataReader of a text in memory that returns a limited number of bytes for each call.
#pragma once

#include <algorithm>

#include "data/Buffer.h"
#include "data/ConstData.h"
#include "data/DataReader.h"

class ChunkReader : public DataReader {
public:
    // Returns at most `size` bytes for each call.
    ChunkReader(std::string text, std::size_t size) : bytes(std::move(text)), chunkSize(size) {}

    // From now on, every second call returns no bytes, which the contract of DataReader permits.
    void PauseBeforeEachByte() { pauses = true; }

    using DataReader::operator>>;

    bool Finished() const override { return given == bytes.size(); }

    DataReader& operator>>(Buffer& target) override {
        ++calls;
        if (pauses && calls % 2 == 1)
            return *this;
        std::size_t const length = std::min(chunkSize, bytes.size() - given);
        ConstBuffer source(ConstData(bytes.data() + given, length));
        target << source;
        given += static_cast<std::size_t>(source.position - source.start);
        return *this;
    }

    ConstData Left() const { return ConstData(bytes.data() + given, bytes.size() - given); }

private:
    std::string bytes;
    std::size_t chunkSize;
    std::size_t given = 0;
    std::size_t calls = 0;
    bool pauses = false;
};
