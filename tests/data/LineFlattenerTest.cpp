#include "data/LineFlattener.h"

#include "data/StringReceiver.h"
#include "tests/data/DataTest.h"

namespace {

static_assert(!std::is_convertible_v<LineFlattener*, LineReceiver*>,
              "only the binding call returns the interface");

TEST(LineFlattenerTest, NoLineBreakIsANullRange) {
    EXPECT_EQ(nullptr, LineFlattener::nothing.begin);
    EXPECT_EQ(nullptr, LineFlattener::nothing.end);
}

TEST(LineFlattenerTest, ReplacesEveryLineBreakHoweverTheTextIsSplit) {
    struct {
        ConstData lineBreak;
        char const* flattened;
    } const cases[] = {{LineFlattener::crlf, "a\r\nb\r\n\r\nc"}, {LineFlattener::lf, "a\nb\n\nc"},
                       {LineFlattener::cr, "a\rb\r\rc"},         {LineFlattener::space, "a b  c"},
                       {LineFlattener::nothing, "abc"},          {"<br>", "a<br>b<br><br>c"}};
    for (auto const& row : cases)
        ForEachSplit("a\r\nb\n\r\rc", [&](Chunks const& chunks) {
            std::string result;
            StringReceiver string;
            LineFlattener flattener;
            LineMaker lines(flattener(row.lineBreak, string(result)));
            Send(chunks, lines);
            EXPECT_EQ(row.flattened, result);
        });
}

TEST(LineFlattenerTest, EachCallBecomesOneCallWithoutPositions) {
    RecordingDataReceiver receiver;
    LineFlattener flattener;
    LineReceiver& lines = flattener(LineFlattener::crlf, receiver);
    lines.Start(17);
    lines.Receive("a");
    lines.Receive(ConstData());
    lines.ReceiveLineBreak({100, 50});
    lines.ReceiveEnd(3);
    EXPECT_EQ(Calls({"Start", "Receive a", "Receive ", "Receive \\0D\\0A", "ReceiveEnd"}),
              receiver.Calls());
}

// Deliberate: a missing binding is a null pointer dereference.
TEST(LineFlattenerTest, StartWithoutABindingCrashes) {
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

TEST(LineFlattenerTest, AllocatesNothing) {
    IgnoreDataReceiver ignore;
    EXPECT_EQ(0u, AllocationsOf([&] {
                  LineFlattener flattener;
                  LineMaker lines(flattener(LineFlattener::crlf, ignore));
                  StartReceiveAndEnd(lines, "a\nb\n");
              }));
}

} // namespace
