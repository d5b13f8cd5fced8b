// Splits an input into chunks, to test that results are independent of chunk boundaries.
#pragma once

#include <algorithm>
#include <memory>

#include "data/ConstData.h"

// One way to split an input, and its description for failure messages.
class Chunks {
public:
    Chunks(std::string theDescription, std::vector<ConstData> theChunks)
        : description(std::move(theDescription)), chunks(std::move(theChunks)) {}

    // Passes each chunk to `receive`, which takes a ConstData. Each call gets a copy in memory of
    // exactly the chunk's length, which is overwritten and freed after the call. Therefore, a
    // sanitizer detects a read beyond the chunk, and the use of a view of it after the call.
    template <class Receive>
    void Feed(Receive receive) const {
        for (ConstData chunk : chunks) {
            std::unique_ptr<unsigned char[]> copy(new unsigned char[chunk.Length()]);
            std::copy(chunk.begin, chunk.end, copy.get());
            receive(ConstData(copy.get(), chunk.Length()));
            std::fill_n(copy.get(), chunk.Length(), static_cast<unsigned char>(0xDD));
        }
    }

    // Returns the chunks as views of the input.
    std::vector<ConstData> Views() const { return chunks; }

    std::string const& Description() const { return description; }

private:
    std::string description;
    std::vector<ConstData> chunks;
};

// Returns `lengths`, repeated and truncated to a sum of `total`. Returns `total` alone if no length
// is above 0.
inline std::vector<std::size_t> RepeatLengths(std::vector<std::size_t> const& lengths,
                                              std::size_t total) {
    if (std::all_of(lengths.begin(), lengths.end(), [](std::size_t length) { return length == 0; }))
        return {total};
    std::vector<std::size_t> repeated;
    for (std::size_t i = 0; total > 0; i = (i + 1) % lengths.size()) {
        repeated.push_back(std::min(lengths[i], total));
        total -= repeated.back();
    }
    return repeated;
}

inline Chunks SplitByLengths(ConstData input, std::vector<std::size_t> const& lengths) {
    std::vector<ConstData> chunks;
    std::string description = "chunks of";
    for (std::size_t const length : RepeatLengths(lengths, input.Length())) {
        chunks.push_back(ConstData(input.begin, length));
        input.begin += length;
        description += ' ' + std::to_string(length);
    }
    return Chunks(std::move(description), std::move(chunks));
}

inline Chunks SplitEvery(ConstData input, std::size_t length) {
    return SplitByLengths(input, {length});
}

inline Chunks SplitAt(ConstData input, std::size_t offset) {
    return SplitByLengths(input, {offset, input.Length() - offset});
}

// Splits into single bytes, with an empty chunk before and after each.
inline Chunks SplitWithEmptyChunks(ConstData input) {
    std::vector<ConstData> chunks{ConstData(input.begin, input.begin)};
    for (unsigned char const* byte = input.begin; byte != input.end; ++byte) {
        chunks.push_back(ConstData(byte, byte + 1));
        chunks.push_back(ConstData(byte + 1, byte + 1));
    }
    return Chunks("empty chunks between the bytes", std::move(chunks));
}
