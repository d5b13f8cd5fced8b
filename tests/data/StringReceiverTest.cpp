#include "data/StringReceiver.h"

#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "data/DataReceiver.h"
#include "tests/support/Bytes.h"
#include "tests/support/ForEachSplit.h"

namespace {

static_assert(!std::is_convertible_v<StringReceiver*, DataReceiver*>,
              "only the binding call yields the interface");

TEST(StringReceiverTest, CollectsAnyCutting) {
    ForEachSplit(EveryByte(), [](Chunks const& chunks) {
        std::string text;
        StringReceiver receiver;
        DataReceiver& stage = receiver(text);
        stage.Start();
        chunks.Feed([&](ConstData chunk) { stage.Receive(chunk); });
        stage.ReceiveEnd();
        EXPECT_EQ(EveryByte(), text);
    });
}

TEST(StringReceiverTest, StartDropsTheText) {
    std::string text = "before";
    StringReceiver receiver;
    DataReceiver& stage = receiver(text);
    stage.Start();
    EXPECT_EQ("", text);
    StartReceiveAndEnd(stage, "first");
    EXPECT_EQ("first", text);
    StartReceiveAndEnd(stage, "second");
    EXPECT_EQ("second", text);
}

TEST(StringReceiverTest, CanBeBoundAgain) {
    std::string first;
    std::string second;
    StringReceiver receiver;
    StartReceiveAndEnd(receiver(first), "a");
    StartReceiveAndEnd(receiver(second), "b");
    EXPECT_EQ("a", first);
    EXPECT_EQ("b", second);
}

} // namespace
