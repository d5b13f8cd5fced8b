#include "data/MessageMaker.h"

#include "data/LineFlattener.h"
#include "fuzz/MessageProperties.h"
#include "tests/data/DataTest.h"

namespace {

void ExpectAgreementForEachSplit(std::string const& text) {
    ForEachSplit(text, [&](Chunks const& chunks) {
        ExpectHolds(text, [&] { MessageProperties::Compare(chunks, text, 0); });
    });
}

// Deliberate: a field whose name has more than 47 bytes is dropped with its continuations.
TEST(MessageMakerTest, ShortMessagesAgreeWithReference) {
    std::string const longest(47, 'N');
    for (std::string const& text :
         {Bytes("A \xC4\0Z :v"), longest + ": v", longest + "N: v\n continued\nb:1\n 2",
          "a:1\n" + longest + "N:2\n 3\n", longest + longest + longest + ": v",
          std::string("Title: hi\n there\n\nbody"), std::string(), std::string("\n"),
          std::string("X-Title: \tHi There  \n"), std::string(":v\nx"), std::string("u:http://x:1"),
          std::string("a: 1\n\t \t2\n   3\n"), std::string("a:1\t \n   \n 2 \n"),
          std::string("junk\nb:1\nno\n go:\nd:2"), std::string(" x: y\na:1"),
          std::string("X-Y:\r\n\r\n"), std::string("\r\na: b\n\nc"), std::string("a:b\n \n c\n\n"),
          std::string(" a\n\nb\r\n")})
        ExpectAgreementForEachSplit(text);
}

// Deliberate: an empty chunk counts as text. A LineMaker never sends one.
TEST(MessageMakerTest, LineWithAnEmptyChunkIsNotEmpty) {
    RecordingMessageReceiver receiver;
    MessageMaker maker(receiver);
    maker.Start(0);
    maker.Receive(ConstData());
    maker.ReceiveLineBreak({0, 1});
    maker.Receive("a:b");
    maker.ReceiveEnd(4);
    EXPECT_EQ(Calls({"Start 0", "ReceiveHeaderField 1 a", "field Start", "field Receive b",
                     "field ReceiveEnd", "ReceiveHeaderFieldEnd 4", "ReceiveBody 4", "body Start 4",
                     "body ReceiveEnd 4", "ReceiveEnd 4"}),
              receiver.Calls());
}

TEST(MessageMakerTest, NextMessageStartsAtAnyOffset) {
    RecordingMessageReceiver receiver;
    MessageMaker maker;
    LineReceiver& lines = maker(receiver);
    lines.Start(0);
    lines.ReceiveLineBreak({0, 1});
    lines.Receive("body");
    lines.ReceiveEnd(5);
    lines.Start(100);
    lines.Receive("a:b");
    lines.ReceiveEnd(103);
    EXPECT_EQ(
        Calls({"Start 0", "ReceiveBody 1", "body Start 1", "body Receive body", "body ReceiveEnd 5",
               "ReceiveEnd 5", "Start 100", "ReceiveHeaderField 100 a", "field Start",
               "field Receive b", "field ReceiveEnd", "ReceiveHeaderFieldEnd 103",
               "ReceiveBody 103", "body Start 103", "body ReceiveEnd 103", "ReceiveEnd 103"}),
        receiver.Calls());
}

TEST(MessageMakerTest, StartInsideAFieldDropsItAndBeginsALine) {
    RecordingMessageReceiver receiver;
    MessageMaker maker(receiver);
    maker.Start(0);
    maker.Receive("a:b");
    maker.Start(100);
    maker.ReceiveLineBreak({100, 102});
    maker.ReceiveEnd(102);
    EXPECT_EQ(
        Calls({"Start 0", "ReceiveHeaderField 0 a", "field Start", "field Receive b", "Start 100",
               "ReceiveBody 102", "body Start 102", "body ReceiveEnd 102", "ReceiveEnd 102"}),
        receiver.Calls());
}

TEST(MessageMakerTest, AllocatesNothing) {
    class Ignorer : public MessageReceiver {
    public:
        void Start(unsigned long long) override {}
        DataReceiver& ReceiveHeaderField(unsigned long long, ConstData) override {
            return DataReceiver::Ignore();
        }
        void ReceiveHeaderFieldEnd(unsigned long long) override {}
        LineReceiver& ReceiveBody(unsigned long long) override {
            return flattener(LineFlattener::lf, DataReceiver::Ignore());
        }
        void ReceiveEnd(unsigned long long) override {}

    private:
        LineFlattener flattener;
    };
    Ignorer ignorer;
    std::string const text = "Name: value\n continued\nAnother: one\n\n";
    std::string const body(5000, 'x');
    EXPECT_EQ(0u, AllocationsOf([&] {
                  MessageMaker maker(ignorer);
                  LineMaker lines(maker);
                  StartReceiveAndEnd(lines, ConstDataRope{text, body});
              }));
}

TEST(MessageMakerTest, RandomMessagesAgreeWithReference) {
    std::mt19937 random(672);
    for (int round = 0; round < 400 && !HasFailure(); ++round)
        ExpectAgreementForEachSplit(RandomBytes(random, random() % 24, "aB:: \t\r\n\n"));
}

TEST(MessageMakerTest, NamesNearTheLimitAgreeWithReference) {
    std::mt19937 random(673);
    for (int round = 0; round < 40 && !HasFailure(); ++round) {
        std::string text;
        for (int line = 0; line < 3; ++line)
            text += RandomBytes(random, 44 + random() % 8, "aB-") + RandomBytes(random, 4, ": \n");
        ExpectAgreementForEachSplit(text);
    }
}

// The destructor takes the first two slots.
TEST(MessageMakerTest, VirtualSlotsHaveFixedOrder) {
    EXPECT_EQ(2u, SlotOf(&MessageReceiver::Start));
    EXPECT_EQ(3u, SlotOf(&MessageReceiver::ReceiveHeaderField));
    EXPECT_EQ(4u, SlotOf(&MessageReceiver::ReceiveHeaderFieldEnd));
    EXPECT_EQ(5u, SlotOf(&MessageReceiver::ReceiveBody));
    EXPECT_EQ(6u, SlotOf(&MessageReceiver::ReceiveEnd));
}

} // namespace
