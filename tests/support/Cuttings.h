// Any cutting of a stream into chunks must give the same events: this runs through the cuttings.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "data/ConstData.h"
#include "tests/support/Bytes.h"

// One way to cut an input.
class Cutting {
public:
    Cutting(std::string description, std::vector<ConstData> pieces)
        : name(std::move(description)), chunks(std::move(pieces)) {}

    // Hands each chunk to `receive`, which takes a ConstData. Each call sees a copy of its own in
    // memory of exactly the chunk's length, which is spoiled and freed behind the call: a stage
    // that reads past its chunk, or keeps a view of it, is found out.
    template <class Receive>
    void Feed(Receive receive) const {
        for (ConstData chunk : chunks) {
            std::unique_ptr<unsigned char[]> copy(new unsigned char[chunk.Length()]);
            std::copy(chunk.begin, chunk.end, copy.get());
            receive(ConstData(copy.get(), chunk.Length()));
            std::fill_n(copy.get(), chunk.Length(), static_cast<unsigned char>(0xDD));
        }
    }

    std::string name;
    std::vector<ConstData> chunks;
};

inline Cutting CutEvery(ConstData input, std::size_t size) {
    std::vector<ConstData> chunks;
    for (ConstData rest = input; !rest.IsEmpty();) {
        std::size_t const length = std::min(size, rest.Length());
        chunks.push_back(ConstData(rest.begin, length));
        rest.begin += length;
    }
    return Cutting("chunks of " + std::to_string(size), std::move(chunks));
}

inline Cutting CutAt(ConstData input, std::size_t offset) {
    return Cutting("cut at " + std::to_string(offset),
                   {ConstData(input.begin, offset), ConstData(input.begin + offset, input.end)});
}

// Byte by byte, with an empty chunk before and behind each.
inline Cutting CutWithEmptyChunks(ConstData input) {
    std::vector<ConstData> chunks{ConstData(input.begin, input.begin)};
    for (unsigned char const* byte = input.begin; byte != input.end; ++byte) {
        chunks.push_back(ConstData(byte, byte + 1));
        chunks.push_back(ConstData(byte + 1, byte + 1));
    }
    return Cutting("empty chunks between the bytes", std::move(chunks));
}

// Runs `body`, which takes a Cutting const&, for the whole input in one chunk, chunks of 1 to 9
// bytes, each single cut, and, unless told otherwise, with empty chunks in between. A failure in it
// names the cutting and the input, and is the last.
template <class Body>
void ForEachCutting(ConstData input, Body body, bool withEmptyChunks = true) {
    std::vector<Cutting> cuttings{Cutting("whole", {input})};
    for (std::size_t size = 1; size <= 9; ++size)
        cuttings.push_back(CutEvery(input, size));
    for (std::size_t offset = 1; offset < input.Length(); ++offset)
        cuttings.push_back(CutAt(input, offset));
    if (withEmptyChunks)
        cuttings.push_back(CutWithEmptyChunks(input));
    for (Cutting const& cutting : cuttings) {
        SCOPED_TRACE(cutting.name + " of \"" + Shown(input) + "\"");
        body(cutting);
        if (::testing::Test::HasFailure())
            return;
    }
}
