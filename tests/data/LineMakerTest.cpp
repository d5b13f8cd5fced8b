#include "data/LineMaker.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "data/DataReceiver.h"
#include "data/LineReceiver.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/ForEachSplit.h"
#include "tests/support/RecordingReceivers.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Calls = std::vector<std::string>;

bool IsBreak(char byte) { return byte == '\r' || byte == '\n'; }

// The events by the definition, from the whole text at once.
Calls Expected(std::string const& text, std::size_t offset) {
    Calls events{"Start " + std::to_string(offset)};
    for (std::size_t i = 0; i < text.size();) {
        std::size_t end = i;
        while (end < text.size() && !IsBreak(text[end]))
            ++end;
        if (end > i) {
            events.push_back("Receive " + Shown(text.substr(i, end - i)));
            i = end;
            continue;
        }
        bool const pair = i + 1 < text.size() && IsBreak(text[i + 1]) && text[i + 1] != text[i];
        end = i + (pair ? 2 : 1);
        events.push_back("ReceiveLineBreak " + std::to_string(offset + i) + "-" +
                         std::to_string(offset + end));
        i = end;
    }
    events.push_back("ReceiveEnd " + std::to_string(offset + text.size()));
    return events;
}

Calls CallsFor(ConstData text) {
    RecordingLineReceiver receiver;
    LineMaker maker(receiver);
    StartReceiveAndEnd(maker, text);
    return receiver.Calls();
}

void ExpectInAnyCutting(std::string const& text, std::size_t offset) {
    Calls const expected = Expected(text, offset);
    ForEachSplit(text, [&](Chunks const& chunks) {
        RecordingLineReceiver receiver;
        LineMaker maker(receiver);
        maker.Start(offset);
        chunks.Feed([&](ConstData chunk) { maker.Receive(chunk); });
        maker.ReceiveEnd();
        EXPECT_EQ(expected, receiver.Events());
    });
}

TEST(LineMakerTest, PairIsOneBreak) {
    Calls const expected{"Start 0", "Receive a", "ReceiveLineBreak 1-3", "Receive b",
                         "ReceiveEnd 4"};
    EXPECT_EQ(expected, CallsFor("a\r\nb"));
    EXPECT_EQ(expected, CallsFor("a\n\rb"));
}

TEST(LineMakerTest, EqualBytesAreTwoBreaks) {
    Calls const expected{"Start 0",   "Receive a",   "ReceiveLineBreak 1-2", "ReceiveLineBreak 2-3",
                         "Receive b", "ReceiveEnd 4"};
    EXPECT_EQ(expected, CallsFor("a\n\nb"));
    EXPECT_EQ(expected, CallsFor("a\r\rb"));
}

TEST(LineMakerTest, PairAndOneMore) {
    EXPECT_EQ(Calls({"Start 0", "ReceiveLineBreak 0-2", "ReceiveLineBreak 2-3", "ReceiveEnd 3"}),
              CallsFor("\r\n\n"));
}

TEST(LineMakerTest, BreakCutInTwoIsDeliveredWhenItsSecondByteArrives) {
    RecordingLineReceiver receiver;
    LineMaker maker(receiver);
    maker.Start();
    maker.Receive("a\r");
    EXPECT_EQ(Calls({"Start 0", "Receive a"}), receiver.Calls());
    maker.Receive(ConstData());
    EXPECT_EQ(2u, receiver.Calls().size());
    maker.Receive("\n");
    EXPECT_EQ(Calls({"Start 0", "Receive a", "ReceiveLineBreak 1-3"}), receiver.Calls());
    maker.Receive("\r");
    maker.Receive("b");
    EXPECT_EQ(Calls({"Start 0", "Receive a", "ReceiveLineBreak 1-3", "ReceiveLineBreak 3-4",
                     "Receive b"}),
              receiver.Calls());
}

TEST(LineMakerTest, BreakAtTheEndIsDeliveredByTheEnd) {
    EXPECT_EQ(Calls({"Start 0", "Receive a", "ReceiveLineBreak 1-2", "ReceiveEnd 2"}),
              CallsFor("a\r"));
}

TEST(LineMakerTest, EmptyStream) {
    EXPECT_EQ(Calls({"Start 0", "ReceiveEnd 0"}), CallsFor(ConstData()));
    EXPECT_EQ(Calls({"Start 0", "ReceiveEnd 0"}), CallsFor(""));
}

TEST(LineMakerTest, LineOverSeveralChunksArrivesInPieces) {
    RecordingLineReceiver receiver;
    LineMaker maker(receiver);
    maker.Start();
    maker.Receive("ab");
    maker.Receive("");
    maker.Receive("cd\ne");
    maker.ReceiveEnd();
    EXPECT_EQ(Calls({"Start 0", "Receive ab", "Receive cd", "ReceiveLineBreak 4-5", "Receive e",
                     "ReceiveEnd 6"}),
              receiver.Calls());
}

TEST(LineMakerTest, TextIsPassedOnAsAViewIntoTheChunk) {
    class ViewReceiver : public LineReceiver {
    public:
        void Start(unsigned long long) override {}
        void Receive(ConstData data) override { views.push_back(data); }
        void ReceiveLineBreak(Range<unsigned long long>) override {}
        void ReceiveEnd(unsigned long long) override {}
        std::vector<ConstData> views;
    };
    ConstData const chunk("ab\ncd");
    ViewReceiver receiver;
    LineMaker maker(receiver);
    StartReceiveAndEnd(maker, chunk);
    ASSERT_EQ(2u, receiver.views.size());
    EXPECT_EQ(chunk.begin, receiver.views[0].begin);
    EXPECT_EQ(chunk.begin + 3, receiver.views[1].begin);
}

TEST(LineMakerTest, StreamCanBeginInMidFile) {
    RecordingLineReceiver receiver;
    LineMaker maker(receiver);
    maker.Start(0xFFFFFFFFFFull);
    maker.Receive("a\nb");
    maker.ReceiveEnd();
    EXPECT_EQ(
        Calls({"Start 1099511627775", "Receive a", "ReceiveLineBreak 1099511627776-1099511627777",
               "Receive b", "ReceiveEnd 1099511627778"}),
        receiver.Calls());
}

TEST(LineMakerTest, StartResets) {
    RecordingLineReceiver receiver;
    LineMaker maker;
    DataReceiver& stage = maker(receiver);
    maker.Start(5);
    stage.Receive("a\r");
    stage.Start();
    stage.Receive("\nb");
    stage.ReceiveEnd();
    EXPECT_EQ(Calls({"Start 5", "Receive a", "Start 0", "ReceiveLineBreak 0-1", "Receive b",
                     "ReceiveEnd 2"}),
              receiver.Calls());
}

TEST(LineMakerTest, AnyCuttingOfEveryShortTextGivesTheSameEvents) {
    std::string const alphabet = "a\r\n";
    std::vector<std::string> texts{""};
    for (std::size_t i = 0; i < texts.size() && texts[i].size() < 6; ++i)
        for (char byte : alphabet)
            texts.push_back(texts[i] + byte);
    ASSERT_EQ(1093u, texts.size());
    for (std::string const& text : texts)
        ExpectInAnyCutting(text, 7);
}

TEST(LineMakerTest, AnyCuttingOfRandomTextGivesTheSameEvents) {
    std::mt19937 random(671);
    for (int round = 0; round < 30; ++round)
        ExpectInAnyCutting(RandomBytes(random, random() % 60, Bytes("abcdefgh\0\xFF\r\n")), 0);
}

TEST(LineMakerTest, OnlyTwoBytesBreakLines) {
    std::string text;
    for (char byte : EveryByte())
        if (!IsBreak(byte))
            text.push_back(byte);
    EXPECT_EQ(Calls({"Start 0", "Receive " + Shown(text), "ReceiveEnd 254"}), CallsFor(text));
}

// A search for each of the two bytes line by line would take some 2^39 steps.
TEST(LineMakerTest, ManyLinesWithOneKindOfBreakTakeLinearTime) {
    class Counter : public LineReceiver {
    public:
        void Start(unsigned long long) override {}
        void Receive(ConstData) override {}
        void ReceiveLineBreak(Range<unsigned long long>) override { ++breaks; }
        void ReceiveEnd(unsigned long long) override {}
        int breaks = 0;
    };
    std::string text;
    for (int line = 0; line < 1 << 19; ++line)
        text += "x\n";
    Counter counter;
    LineMaker maker(counter);
    EXPECT_EQ(0u, AllocationsOf([&] { StartReceiveAndEnd(maker, text); }));
    EXPECT_EQ(1 << 19, counter.breaks);
}

// The first two slots are the destructor's.
TEST(LineMakerTest, OperationsOfALineReceiverStandInTheirOrder) {
    EXPECT_EQ(2u, SlotOf(&LineReceiver::Start));
    EXPECT_EQ(3u, SlotOf(&LineReceiver::Receive));
    EXPECT_EQ(4u, SlotOf(&LineReceiver::ReceiveLineBreak));
    EXPECT_EQ(5u, SlotOf(&LineReceiver::ReceiveEnd));
}

} // namespace
