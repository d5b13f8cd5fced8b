#include "data/LineFlattener.h"

#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "data/DataReceiver.h"
#include "data/LineMaker.h"
#include "data/StringReceiver.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/ForEachSplit.h"
#include "tests/support/RecordingReceivers.h"

namespace {

static_assert(!std::is_convertible_v<LineFlattener*, LineReceiver*>,
              "only the binding call yields the interface");

using Calls = std::vector<std::string>;

std::string Flattened(ConstData text, ConstData lineBreak) {
    std::string result;
    StringReceiver string;
    LineFlattener flattener;
    LineMaker lines(flattener(lineBreak, string(result)));
    StartReceiveAndEnd(lines, text);
    return result;
}

TEST(LineFlattenerTest, OffersFiveBreaks) {
    EXPECT_EQ(ConstData("\r"), LineFlattener::cr);
    EXPECT_EQ(ConstData("\n"), LineFlattener::lf);
    EXPECT_EQ(ConstData("\r\n"), LineFlattener::crlf);
    EXPECT_EQ(ConstData(" "), LineFlattener::space);
    EXPECT_EQ(nullptr, LineFlattener::nothing.begin);
    EXPECT_EQ(nullptr, LineFlattener::nothing.end);
}

TEST(LineFlattenerTest, BreakWrittenIsAlwaysTheSame) {
    EXPECT_EQ("a\r\nb\r\n", Flattened("a\nb\r", LineFlattener::crlf));
    EXPECT_EQ("a\nb\nc\n\nd", Flattened("a\r\nb\n\rc\r\rd", LineFlattener::lf));
    EXPECT_EQ("a\rb", Flattened("a\r\nb", LineFlattener::cr));
    EXPECT_EQ("a b ", Flattened("a\r\nb\n", LineFlattener::space));
    EXPECT_EQ("ab", Flattened("a\r\nb\n", LineFlattener::nothing));
    EXPECT_EQ("a<br>b", Flattened("a\nb", "<br>"));
    EXPECT_EQ("", Flattened("", LineFlattener::crlf));
}

TEST(LineFlattenerTest, EachCallBecomesOneCall) {
    RecordingDataReceiver receiver;
    LineFlattener flattener;
    LineReceiver& lines = flattener(LineFlattener::crlf, receiver);
    lines.Start(17);
    lines.Receive("a");
    lines.Receive(ConstData());
    lines.ReceiveLineBreak({100, 50});
    lines.ReceiveEnd(3);
    EXPECT_EQ(Calls({"Start", "Receive a", "Receive ", "Receive \\0D\\0A", "ReceiveEnd"}),
              receiver.Calls())
        << "positions are dropped";
}

TEST(LineFlattenerTest, BreakOfNothingIsAnEmptyChunk) {
    RecordingDataReceiver receiver;
    LineFlattener flattener;
    LineReceiver& lines = flattener(LineFlattener::nothing, receiver);
    lines.Start(0);
    lines.ReceiveLineBreak({0, 1});
    EXPECT_EQ(Calls({"Start", "Receive "}), receiver.Calls());
}

// Deliberate: a stream without a new binding is the caller's fault, and shows at once.
TEST(LineFlattenerTest, EndForgetsTheTarget) {
    RecordingDataReceiver receiver;
    LineFlattener flattener;
    LineReceiver& lines = flattener(LineFlattener::lf, receiver);
    lines.Start(0);
    lines.ReceiveEnd(0);
    EXPECT_DEATH(lines.Start(0), "");
}

TEST(LineFlattenerTest, CanBeBoundAgainForTheNextStream) {
    RecordingDataReceiver first;
    RecordingDataReceiver second;
    LineFlattener flattener;
    LineMaker toFirst(flattener(LineFlattener::lf, first));
    StartReceiveAndEnd(toFirst, "a\rb");
    LineMaker toSecond(flattener(LineFlattener::space, second));
    StartReceiveAndEnd(toSecond, "c\rd");
    EXPECT_EQ("a\nb", first.Text());
    EXPECT_EQ("c d", second.Text());
}

TEST(LineFlattenerTest, AnyCuttingGivesTheSameBytes) {
    ForEachSplit("a\r\nb\n\r\n\rcd\r\r\n\n", [](Chunks const& chunks) {
        RecordingDataReceiver receiver;
        LineFlattener flattener;
        LineMaker lines(flattener(LineFlattener::lf, receiver));
        lines.Start();
        chunks.Feed([&](ConstData chunk) { lines.Receive(chunk); });
        lines.ReceiveEnd();
        EXPECT_EQ("a\nb\n\ncd\n\n\n", receiver.Text());
    });
}

TEST(LineFlattenerTest, AllocatesNothing) {
    IgnoreDataReceiver ignore;
    EXPECT_EQ(0u, AllocationsOf([&] {
                  LineFlattener flattener;
                  LineMaker lines(flattener(LineFlattener::crlf, ignore));
                  StartReceiveAndEnd(lines, "a\nb\n");
              }));
}

} // namespace
