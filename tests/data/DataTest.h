// The common includes and helpers of the tests of data/.
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

using Calls = std::vector<std::string>;

// Sends the chunks to the receiver as one stream.
inline void Send(Chunks const& chunks, DataReceiver& receiver) {
    receiver.Start();
    chunks.Feed([&](ConstData chunk) { receiver.Receive(chunk); });
    receiver.ReceiveEnd();
}
