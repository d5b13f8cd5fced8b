#include "data/StringReceiver.h"

#include "tests/data/DataTest.h"

namespace {

static_assert(!std::is_convertible_v<StringReceiver*, DataReceiver*>,
              "only the binding call returns the interface");

TEST(StringReceiverTest, CollectsTheChunks) {
    ForEachSplit(EveryByte(), [](Chunks const& chunks) {
        std::string text;
        StringReceiver receiver;
        Send(chunks, receiver(text));
        EXPECT_EQ(EveryByte(), text);
    });
}

TEST(StringReceiverTest, StartClearsTheBoundString) {
    std::string first = "before";
    std::string second = "before";
    StringReceiver receiver;
    receiver(first).Start();
    EXPECT_EQ("", first);
    StartReceiveAndEnd(receiver(first), "a");
    StartReceiveAndEnd(receiver(second), "b");
    EXPECT_EQ("a", first);
    EXPECT_EQ("b", second);
}

} // namespace
