#include "data/StartReceiveAndEnd.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "data/AsciiFilters.h"
#include "data/ConstDataRopeReference.h"
#include "data/DataFilter.h"
#include "tests/support/RecordingReceivers.h"

namespace {

using Calls = std::vector<std::string>;

TEST(StartReceiveAndEndTest, MakesTheThreeCallsForARange) {
    RecordingDataReceiver receiver;
    StartReceiveAndEnd(receiver, "abc");
    EXPECT_EQ(Calls({"Start", "Receive abc", "ReceiveEnd"}), receiver.Calls());
}

TEST(StartReceiveAndEndTest, EmptyRangeIsStillReceived) {
    RecordingDataReceiver receiver;
    StartReceiveAndEnd(receiver, ConstData());
    EXPECT_EQ(Calls({"Start", "Receive ", "ReceiveEnd"}), receiver.Calls());
}

TEST(StartReceiveAndEndTest, RopeIsReceivedPieceByPiece) {
    RecordingDataReceiver receiver;
    StartReceiveAndEnd(receiver, ConstDataRope{"a", "", "b"});
    EXPECT_EQ(Calls({"Start", "Receive a", "Receive ", "Receive b", "ReceiveEnd"}),
              receiver.Calls());
    RecordingDataReceiver other;
    StartReceiveAndEnd(other, ConstDataRopeReference());
    EXPECT_EQ(Calls({"Start", "ReceiveEnd"}), other.Calls());
}

TEST(StartReceiveAndEndTest, FilterStandsBetween) {
    RecordingDataReceiver receiver;
    StartReceiveAndEnd(receiver, "abc", DataFilter::copy);
    EXPECT_EQ(Calls({"Start", "Receive abc", "ReceiveEnd"}), receiver.Calls());
    RecordingDataReceiver raised;
    StartReceiveAndEnd(raised, ConstDataRope{"ab", "", "c"}, Ascii::RaiseCase());
    EXPECT_EQ(Calls({"Start", "Receive AB", "Receive C", "ReceiveEnd"}), raised.Calls())
        << "the filter stage drops empty chunks";
}

} // namespace
