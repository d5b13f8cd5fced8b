#include "tests/support/RecordingReceivers.h"

#include <gtest/gtest-spi.h>

namespace {

using Calls = std::vector<std::string>;

TEST(RecordingReceiversTest, EventsJoinTextAndDropEmptyChunks) {
    RecordingDataReceiver receiver;
    receiver.Start();
    receiver.Receive("a");
    receiver.Receive("");
    receiver.Receive("b\\\n");
    receiver.ReceiveEnd();
    EXPECT_EQ(Calls({"Start", "Receive ab\\5C\\0A", "ReceiveEnd"}), receiver.Events());
    EXPECT_EQ(5u, receiver.Calls().size());
    EXPECT_EQ("ab\\\n", receiver.Text());
}

TEST(RecordingReceiversTest, BytesOutsideOfAStreamFailTheTest) {
    RecordingDataReceiver receiver;
    EXPECT_NONFATAL_FAILURE(receiver.Receive("a"), "outside of Start and ReceiveEnd");
    EXPECT_NONFATAL_FAILURE(receiver.ReceiveEnd(), "outside of Start and ReceiveEnd");
    receiver.Start();
    receiver.ReceiveEnd();
    EXPECT_NONFATAL_FAILURE(receiver.Receive("a"), "outside of Start and ReceiveEnd");
}

TEST(RecordingReceiversTest, WrongPositionsFailTheTest) {
    RecordingLineReceiver receiver;
    receiver.Start(10);
    receiver.Receive("ab");
    EXPECT_NONFATAL_FAILURE(receiver.ReceiveLineBreak({10, 12}), "a line break at 10");
    EXPECT_NONFATAL_FAILURE(receiver.ReceiveEnd(13), "the end at 13");
}

TEST(RecordingReceiversTest, WrongOrderOfCallsFailsTheTest) {
    RecordingMessageReceiver receiver;
    receiver.Start(0);
    EXPECT_NONFATAL_FAILURE(receiver.ReceiveHeaderFieldEnd(0), "without its start");
    DataReceiver& field = receiver.ReceiveHeaderField(0, "a");
    EXPECT_NONFATAL_FAILURE(receiver.ReceiveHeaderField(0, "b"), "a field starts in a field");
    field.Start();
    field.ReceiveEnd();
    receiver.ReceiveHeaderFieldEnd(3);
    EXPECT_NONFATAL_FAILURE(receiver.ReceiveEnd(3), "without a body");
}

} // namespace
