// The common includes of the tests of data/, and the helpers for streams.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "data/Buffer.h"
#include "data/ConstData.h"
#include "data/ConstDataRopeReference.h"
#include "data/DataReceiver.h"
#include "data/LineMaker.h"
#include "fuzz/RandomInputs.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/ForEachSplit.h"
#include "tests/support/RecordingReceivers.h"
#include "tests/support/VirtualSlot.h"

using testing::ElementsAre;
using testing::IsEmpty;

using Calls = std::vector<std::string>;

// Returns all texts over an alphabet up to a length, including the empty text.
inline std::vector<std::string> AllTexts(std::string const& alphabet, std::size_t longest) {
    std::vector<std::string> texts = {""};
    for (std::size_t i = 0; i < texts.size(); ++i)
        for (char byte : alphabet)
            if (texts[i].size() < longest)
                texts.push_back(texts[i] + byte);
    return texts;
}

// Sends the chunks to the receiver as one stream.
inline void Send(Chunks const& chunks, DataReceiver& receiver) {
    receiver.Start();
    chunks.Feed([&](ConstData chunk) { receiver.Receive(chunk); });
    receiver.ReceiveEnd();
}
