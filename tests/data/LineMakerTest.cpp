#include "data/LineMaker.h"

#include "data/LineReceiver.h"
#include "fuzz/Lines.h"
#include "tests/data/DataTest.h"

namespace {

void ExpectForEachSplit(std::string const& text, unsigned long long offset) {
    ForEachSplit(text, [&](Chunks const& chunks) {
        ExpectHolds(text, [&] { CompareLines(chunks, text, offset); });
    });
}

TEST(LineMakerTest, LineBreakIsReportedOnceItsEndIsKnown) {
    RecordingLineReceiver receiver;
    LineMaker maker(receiver);
    Calls expected{"Start 0"};
    struct {
        char const* chunk;
        Calls calls;
    } const steps[] = {{"a\r", {"Receive a"}},
                       {"", {}},
                       {"\n", {"ReceiveLineBreak 1-3"}},
                       {"\r", {}},
                       {"b", {"ReceiveLineBreak 3-4", "Receive b"}},
                       {"c", {"Receive c"}}};
    maker.Start();
    for (auto const& [chunk, calls] : steps) {
        maker.Receive(chunk);
        expected.insert(expected.end(), calls.begin(), calls.end());
        EXPECT_EQ(expected, receiver.Calls());
    }
}

// Records the addresses of the first and the last text, and the number of line breaks, without
// allocating.
class LineCounter : public LineReceiver {
public:
    void Start(unsigned long long) override {}
    void Receive(ConstData data) override { (breaks == 0 ? first : last) = data.begin; }
    void ReceiveLineBreak(Range<unsigned long long>) override { ++breaks; }
    void ReceiveEnd(unsigned long long) override {}

    unsigned char const* first = nullptr;
    unsigned char const* last = nullptr;
    int breaks = 0;
};

TEST(LineMakerTest, TextIsAViewOfTheChunk) {
    ConstData const chunk("ab\ncd");
    LineCounter counter;
    LineMaker maker(counter);
    StartReceiveAndEnd(maker, chunk);
    EXPECT_EQ(chunk.begin, counter.first);
    EXPECT_EQ(chunk.begin + 3, counter.last);
}

TEST(LineMakerTest, StartResetsTheState) {
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

TEST(LineMakerTest, EveryShortTextAgreesWithReference) {
    for (std::string const& text : AllTexts("a\r\n", 6))
        ExpectForEachSplit(text, 7);
}

TEST(LineMakerTest, RandomTextAgreesWithReference) {
    std::mt19937 random(671);
    for (int round = 0; round < 30; ++round)
        ExpectForEachSplit(RandomBytes(random, random() % 60, Bytes("abcdefgh\0\xFF\r\n")),
                           0xFFFFFFFFFF);
}

TEST(LineMakerTest, OnlyTwoBytesBreakLines) { ExpectForEachSplit(EveryByte(), 0); }

// A search of all remaining text at each line, for the byte that never occurs, would take 2^38
// steps.
TEST(LineMakerTest, ManyLinesWithOneKindOfBreakTakeLinearTime) {
    std::string text;
    for (int line = 0; line < 1 << 19; ++line)
        text += "x\n";
    LineCounter counter;
    LineMaker maker(counter);
    EXPECT_EQ(0u, AllocationsOf([&] { StartReceiveAndEnd(maker, text); }));
    EXPECT_EQ(1 << 19, counter.breaks);
}

// The destructor takes the first two slots.
TEST(LineMakerTest, VirtualSlotsHaveFixedOrder) {
    EXPECT_EQ(2u, SlotOf(&LineReceiver::Start));
    EXPECT_EQ(3u, SlotOf(&LineReceiver::Receive));
    EXPECT_EQ(4u, SlotOf(&LineReceiver::ReceiveLineBreak));
    EXPECT_EQ(5u, SlotOf(&LineReceiver::ReceiveEnd));
}

} // namespace
