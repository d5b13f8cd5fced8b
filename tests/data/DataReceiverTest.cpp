#include "data/DataReceiver.h"

#include "tests/data/DataTest.h"

namespace {

static_assert(std::is_abstract_v<DataWriter> && !std::has_virtual_destructor_v<DataWriter>);
static_assert(sizeof(DataWriter) == sizeof(void*) && sizeof(DataReceiver) == sizeof(void*));
static_assert(std::is_abstract_v<DataReceiver> && std::has_virtual_destructor_v<DataReceiver>);
static_assert(std::is_base_of_v<DataWriter, DataReceiver>);
static_assert(std::is_convertible_v<IgnoreDataReceiver*, DataReceiver*>);
static_assert(sizeof(IgnoreDataReceiver) == sizeof(DataReceiver));

TEST(DataReceiverTest, InsertionReceivesAndReturnsTheReceiver) {
    RecordingDataReceiver receiver;
    DataWriter& writer = receiver;
    receiver.Start();
    EXPECT_EQ(&writer, &(writer << ConstData("ab") << "c"));
    EXPECT_EQ(&receiver, &(receiver << ConstData()));
    receiver.Receive(ConstDataRope{"a", "", "bc"});
    EXPECT_THAT(receiver.Calls(), ElementsAre("Start", "Receive ab", "Receive c", "Receive ",
                                              "Receive a", "Receive ", "Receive bc"));
}

TEST(DataReceiverTest, IgnoreIsASharedReceiver) {
    DataReceiver& ignore = DataReceiver::Ignore();
    EXPECT_EQ(&ignore, &DataReceiver::Ignore());
    EXPECT_NE(nullptr, dynamic_cast<IgnoreDataReceiver*>(&ignore));
    ignore.ReceiveEnd();
    ignore.Start();
    ignore << "abc";
    ignore.ReceiveEnd();
}

// The destructor takes the two slots after the one operation of a writer.
TEST(DataReceiverTest, VirtualSlotsHaveFixedOrder) {
    EXPECT_EQ(0u, SlotOf(&DataWriter::operator<<));
    EXPECT_EQ(0u, SlotOf(&DataReceiver::operator<<));
    EXPECT_EQ(3u, SlotOf(&DataReceiver::Start));
    EXPECT_EQ(4u, SlotOf<void (DataReceiver::*)(ConstData)>(&DataReceiver::Receive));
    EXPECT_EQ(5u, SlotOf(&DataReceiver::ReceiveEnd));
    EXPECT_EQ(notVirtual,
              SlotOf<void (DataReceiver::*)(ConstDataRopeReference)>(&DataReceiver::Receive));
}

TEST(IgnoreDataReceiverTest, IgnoresStreamsWithoutAllocating) {
    std::string const text(100000, 'x');
    EXPECT_EQ(0u, AllocationsOf([&] {
                  IgnoreDataReceiver receiver;
                  StartReceiveAndEnd(receiver, text);
                  receiver.Receive(text);
              }));
}

TEST(StartReceiveAndEndTest, SendsOneStream) {
    for (std::string const text : {"abc", ""}) {
        RecordingDataReceiver receiver;
        StartReceiveAndEnd(receiver, ConstData(text));
        EXPECT_EQ(Calls({"Start", "Receive " + text, "ReceiveEnd"}), receiver.Calls());
    }
    RecordingDataReceiver ofRope;
    StartReceiveAndEnd(ofRope, ConstDataRope{"a", "", "b"});
    StartReceiveAndEnd(ofRope, ConstDataRopeReference());
    EXPECT_THAT(ofRope.Calls(), ElementsAre("Start", "Receive a", "Receive ", "Receive b",
                                            "ReceiveEnd", "Start", "ReceiveEnd"));
}

} // namespace
