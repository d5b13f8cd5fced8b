// Runs a test for many ways to split an input into chunks.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/Bytes.h"
#include "tests/support/Chunks.h"

// Runs `body`, which takes a Chunks const&, for these splits of the input: one chunk, chunks of 1
// to 9 bytes, and each pair of chunks. With `withEmptyChunks`, also single bytes with empty chunks
// between them. Stops after the first failure, whose message has the chunks and the input.
template <class Body>
void ForEachSplit(ConstData input, Body body, bool withEmptyChunks = true) {
    std::vector<Chunks> splits{Chunks("one chunk", {input})};
    for (std::size_t size = 1; size <= 9; ++size)
        splits.push_back(SplitEvery(input, size));
    for (std::size_t offset = 1; offset < input.Length(); ++offset)
        splits.push_back(SplitAt(input, offset));
    if (withEmptyChunks)
        splits.push_back(SplitWithEmptyChunks(input));
    for (Chunks const& chunks : splits) {
        SCOPED_TRACE(chunks.Description() + " of \"" + Shown(input) + "\"");
        body(chunks);
        if (::testing::Test::HasFailure())
            return;
    }
}
