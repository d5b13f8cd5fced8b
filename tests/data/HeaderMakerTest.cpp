#include "data/HeaderMaker.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "data/DataReceiver.h"
#include "data/LineMaker.h"
#include "data/MessageReceiver.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/ForEachSplit.h"
#include "tests/support/RecordingReceivers.h"

namespace {

using Calls = std::vector<std::string>;

// The double expects the Start that a MessageMaker sends; a HeaderMaker makes no such call.
class FieldRecorder : public RecordingMessageReceiver {
public:
    FieldRecorder() { Start(0); }
};

// The events of a header block, for any split.
void ExpectFields(Calls expected, ConstData text) {
    expected.insert(expected.begin(), "Start 0");
    ForEachSplit(text, [&](Chunks const& chunks) {
        FieldRecorder receiver;
        HeaderMaker maker(receiver);
        LineMaker lines(maker);
        lines.Start();
        chunks.Feed([&](ConstData chunk) { lines.Receive(chunk); });
        lines.ReceiveEnd();
        EXPECT_EQ(expected, receiver.Events());
    });
}

TEST(HeaderMakerTest, FieldHasALowerCaseNameAndAValueWithoutLeadingBlanks) {
    ExpectFields({"ReceiveHeaderField 0 x-title", "field Start", "field Receive Hi There  ",
                  "field ReceiveEnd", "ReceiveHeaderFieldEnd 20"},
                 "X-Title: \tHi There  \n");
}

TEST(HeaderMakerTest, FieldEndsBehindItsValueAndInFrontOfTheBreak) {
    ExpectFields({"ReceiveHeaderField 0 a", "field Start", "field Receive 1", "field ReceiveEnd",
                  "ReceiveHeaderFieldEnd 3", "ReceiveHeaderField 5 b", "field Start",
                  "field Receive 2", "field ReceiveEnd", "ReceiveHeaderFieldEnd 8"},
                 "a:1\r\nb:2\r\n");
}

TEST(HeaderMakerTest, LastFieldNeedsNoBreak) {
    ExpectFields({"ReceiveHeaderField 0 a", "field Start", "field Receive 1", "field ReceiveEnd",
                  "ReceiveHeaderFieldEnd 3"},
                 "a:1");
}

TEST(HeaderMakerTest, ContinuationAddsOneSpace) {
    ExpectFields({"ReceiveHeaderField 0 a", "field Start", "field Receive 1 2 3",
                  "field ReceiveEnd", "ReceiveHeaderFieldEnd 14"},
                 "a: 1\n\t \t2\n   3\n");
}

TEST(HeaderMakerTest, BlankContinuationsAddSpacesAndTrailingBlanksAreKept) {
    ExpectFields({"ReceiveHeaderField 0 a", "field Start", "field Receive 1\\09   2 ",
                  "field ReceiveEnd", "ReceiveHeaderFieldEnd 13"},
                 "a:1\t \n   \n 2 \n");
}

TEST(HeaderMakerTest, EmptyValueHasNoReceive) {
    FieldRecorder receiver;
    HeaderMaker maker(receiver);
    maker.Start(0);
    maker.Receive("X-Y:");
    maker.ReceiveLineBreak({4, 5});
    maker.ReceiveEnd(5);
    EXPECT_EQ(Calls({"Start 0", "ReceiveHeaderField 0 x-y", "field Start", "field ReceiveEnd",
                     "ReceiveHeaderFieldEnd 4"}),
              receiver.Calls());
}

TEST(HeaderMakerTest, ValueMayHaveColons) {
    ExpectFields({"ReceiveHeaderField 0 u", "field Start", "field Receive http://x:1",
                  "field ReceiveEnd", "ReceiveHeaderFieldEnd 12"},
                 "u:http://x:1");
}

TEST(HeaderMakerTest, LineWithoutAColonReportsNothing) {
    ExpectFields({"ReceiveHeaderField 5 b", "field Start", "field Receive 1", "field ReceiveEnd",
                  "ReceiveHeaderFieldEnd 8", "ReceiveHeaderField 17 d", "field Start",
                  "field Receive 2", "field ReceiveEnd", "ReceiveHeaderFieldEnd 20"},
                 "junk\nb:1\nno\n go:\nd:2");
}

TEST(HeaderMakerTest, FirstLineWithALeadingBlankContinuesNothing) {
    ExpectFields({"ReceiveHeaderField 6 a", "field Start", "field Receive 1", "field ReceiveEnd",
                  "ReceiveHeaderFieldEnd 9"},
                 " x: y\na:1");
}

TEST(HeaderMakerTest, LineThatStartsWithAColonHasAnEmptyName) {
    ExpectFields({"ReceiveHeaderField 0 ", "field Start", "field Receive v", "field ReceiveEnd",
                  "ReceiveHeaderFieldEnd 2"},
                 ":v\n"
                 "x");
}

TEST(HeaderMakerTest, NameIsNotTrimmedAndOnlyAsciiLettersAreLowered) {
    ExpectFields({"ReceiveHeaderField 0 a \\C4\\00z ", "field Start", "field Receive v",
                  "field ReceiveEnd", "ReceiveHeaderFieldEnd 8"},
                 "A \xC4\0Z :v"_bytes);
}

// Deliberate: the buffer of 48 bytes must have room left.
TEST(HeaderMakerTest, NameOf47BytesIsTheLongestReported) {
    std::string const name(47, 'N');
    ExpectFields({"ReceiveHeaderField 0 " + std::string(47, 'n'), "field Start", "field Receive v",
                  "field ReceiveEnd", "ReceiveHeaderFieldEnd 50"},
                 name + ": v");
    ExpectFields({}, name + "N: v\n continued\n");
    ExpectFields({}, name + name + name + ": v");
    ExpectFields({"ReceiveHeaderField 52 b", "field Start", "field Receive 1 2", "field ReceiveEnd",
                  "ReceiveHeaderFieldEnd 58"},
                 name + "N: v\n"
                        "b:1\n 2");
}

TEST(HeaderMakerTest, LongFieldIsDroppedBehindAnotherThatIsClosed) {
    std::string const name(48, 'n');
    ExpectFields({"ReceiveHeaderField 0 a", "field Start", "field Receive 1", "field ReceiveEnd",
                  "ReceiveHeaderFieldEnd 3"},
                 "a:1\n" + name + ":2\n 3\n");
}

TEST(HeaderMakerTest, NameCutByAChunkIsGathered) {
    FieldRecorder receiver;
    HeaderMaker maker(receiver);
    maker.Start(10);
    maker.Receive("Ti");
    maker.Receive("TL");
    maker.Receive("e");
    maker.Receive(":");
    maker.Receive(" ");
    maker.Receive(" v");
    maker.Receive(" w");
    maker.ReceiveEnd(20);
    EXPECT_EQ(Calls({"Start 0", "ReceiveHeaderField 10 title", "field Start", "field Receive v",
                     "field Receive  w", "field ReceiveEnd", "ReceiveHeaderFieldEnd 20"}),
              receiver.Calls());
}

TEST(HeaderMakerTest, EmptyPieceIsNothing) {
    FieldRecorder receiver;
    HeaderMaker maker(receiver);
    maker.Start(0);
    maker.Receive(ConstData());
    maker.Receive("a:");
    maker.Receive(ConstData());
    maker.Receive("1");
    EXPECT_EQ(Calls({"Start 0", "ReceiveHeaderField 0 a", "field Start", "field Receive 1"}),
              receiver.Calls());
}

TEST(HeaderMakerTest, MakesNoOtherCallsOnTheReceiver) {
    FieldRecorder receiver;
    HeaderMaker maker;
    LineReceiver& lines = maker(receiver);
    lines.Start(0);
    lines.ReceiveLineBreak({0, 1});
    lines.ReceiveEnd(1);
    EXPECT_EQ(Calls({"Start 0"}), receiver.Calls());
}

TEST(HeaderMakerTest, NewObjectIsAsAfterAStartAtNought) {
    FieldRecorder receiver;
    HeaderMaker maker(receiver);
    maker.Receive(" continues nothing");
    maker.ReceiveLineBreak({18, 19});
    maker.Receive("a:1");
    maker.ReceiveEnd(22);
    EXPECT_EQ(Calls({"Start 0", "ReceiveHeaderField 19 a", "field Start", "field Receive 1",
                     "field ReceiveEnd", "ReceiveHeaderFieldEnd 22"}),
              receiver.Calls());
}

TEST(HeaderMakerTest, StartForgetsAnOpenField) {
    FieldRecorder receiver;
    HeaderMaker maker(receiver);
    maker.Start(0);
    maker.Receive("a:1");
    maker.Start(100);
    maker.Receive(" continues nothing");
    maker.ReceiveEnd(118);
    EXPECT_EQ(Calls({"Start 0", "ReceiveHeaderField 0 a", "field Start", "field Receive 1"}),
              receiver.Calls());
}

TEST(HeaderMakerTest, StartInAValueBeginsALine) {
    FieldRecorder receiver;
    HeaderMaker maker(receiver);
    maker.Start(0);
    maker.Receive("a:1");
    receiver.Start(100);
    maker.Start(100);
    maker.Receive("b:2");
    maker.ReceiveEnd(103);
    EXPECT_EQ(Calls({"Start 0", "ReceiveHeaderField 0 a", "field Start", "field Receive 1",
                     "Start 100", "ReceiveHeaderField 100 b", "field Start", "field Receive 2",
                     "field ReceiveEnd", "ReceiveHeaderFieldEnd 103"}),
              receiver.Calls());
}

// Before the first break, the start stands for one of no bytes.
TEST(HeaderMakerTest, FieldEndsAtTheStartIfTheStreamClaimsToEndThere) {
    FieldRecorder receiver;
    HeaderMaker maker(receiver);
    maker.Start(7);
    maker.Receive("a:1");
    maker.ReceiveEnd(7);
    EXPECT_EQ("ReceiveHeaderFieldEnd 7", receiver.Calls().back());
}

TEST(HeaderMakerTest, FieldEndsInFrontOfABreakOnlyIfTheBreakIsTheLastOfTheStream) {
    FieldRecorder receiver;
    HeaderMaker maker(receiver);
    for (unsigned long long const end : {5, 6}) {
        maker.Start(0);
        maker.Receive("a:1");
        maker.ReceiveLineBreak({3, 5});
        maker.ReceiveEnd(end);
        EXPECT_EQ(end == 5 ? "ReceiveHeaderFieldEnd 3" : "ReceiveHeaderFieldEnd 6",
                  receiver.Calls().back());
    }
}

TEST(HeaderMakerTest, AllocatesNothing) {
    class Ignorer : public MessageReceiver {
    public:
        void Start(unsigned long long) override {}
        DataReceiver& ReceiveHeaderField(unsigned long long, ConstData) override {
            return DataReceiver::Ignore();
        }
        void ReceiveHeaderFieldEnd(unsigned long long) override {}
        LineReceiver& ReceiveBody(unsigned long long) override { return body; }
        void ReceiveEnd(unsigned long long) override {}
        RecordingLineReceiver body;
    };
    Ignorer ignorer;
    EXPECT_EQ(0u, AllocationsOf([&] {
                  HeaderMaker maker(ignorer);
                  LineMaker lines(maker);
                  StartReceiveAndEnd(lines, "Name: value\n continued\nAnother: one\n");
              }));
}

} // namespace
