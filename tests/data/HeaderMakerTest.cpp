#include "data/HeaderMaker.h"

#include "tests/data/DataTest.h"

namespace {

// The recorder expects the Start that a MessageMaker sends; a HeaderMaker makes no such call.
class FieldRecorder : public RecordingMessageReceiver {
public:
    FieldRecorder() { Start(0); }
};

// The calls for one field whose value has these chunks.
Calls CallsOf(unsigned position, std::string const& name, Calls const& chunks, unsigned end) {
    Calls calls{"Start 0", "ReceiveHeaderField " + std::to_string(position) + " " + name,
                "field Start"};
    for (std::string const& chunk : chunks)
        calls.push_back("field Receive " + chunk);
    calls.push_back("field ReceiveEnd");
    calls.push_back("ReceiveHeaderFieldEnd " + std::to_string(end));
    return calls;
}

// Returns the name and value of each field.
std::string FieldsIn(std::string const& text) {
    FieldRecorder receiver;
    HeaderMaker maker(receiver);
    LineMaker lines(maker);
    StartReceiveAndEnd(lines, text);
    std::string fields;
    for (std::string const& event : receiver.Events())
        if (event.starts_with("ReceiveHeaderField "))
            fields += '[' + event.substr(event.find(' ', 19) + 1) + ']';
        else if (event.starts_with("field Receive "))
            fields += event.substr(14);
    return fields;
}

// Deliberate: one byte of the 48-byte buffer for the name is never used.
TEST(HeaderMakerTest, ReadsNamesValuesAndContinuations) {
    std::string const longest(47, 'n');
    struct {
        char const* rule;
        std::string text;
        std::string fields;
    } const cases[] = {
        {"lower-case name, no leading whitespace", "X-T: \tHi There  \n", "[x-t]Hi There  "},
        {"name that is not trimmed", Bytes("A \xC4\0Z :v"), "[a \\C4\\00z ]v"},
        {"empty name", ":v\nx", "[]v"},
        {"colons in a value", "u:http://x:1", "[u]http://x:1"},
        {"continuation adds one space", "a: 1\n\t \t2\n   3\n", "[a]1 2 3"},
        {"continuations of whitespace", "a:1\t \n   \n 2 \n", "[a]1\\09   2 "},
        {"line without a colon", "junk\nb:1\nno\n go:\nd:2", "[b]1[d]2"},
        {"continuation of no field", " x: y\na:1", "[a]1"},
        {"name of 47 bytes", longest + ": v", '[' + longest + "]v"},
        {"name of 48 bytes", longest + "n: v\n continued\nb:1\n 2", "[b]1 2"},
    };
    for (auto const& [rule, text, fields] : cases)
        EXPECT_EQ(fields, FieldsIn(text)) << rule;
}

TEST(HeaderMakerTest, EmptyValuesAndChunksMakeNoReceiveCall) {
    FieldRecorder receiver;
    HeaderMaker maker(receiver);
    maker.Start(0);
    for (ConstData const chunk : {ConstData("X-Y:"), ConstData()})
        maker.Receive(chunk);
    maker.ReceiveLineBreak({4, 5});
    for (ConstData const chunk : {ConstData(), ConstData("a:"), ConstData(), ConstData("1")})
        maker.Receive(chunk);
    Calls expected = CallsOf(0, "x-y", {}, 4);
    for (char const* const call : {"ReceiveHeaderField 5 a", "field Start", "field Receive 1"})
        expected.push_back(call);
    EXPECT_EQ(expected, receiver.Calls());
}

TEST(HeaderMakerTest, ForwardsNoStartLineBreakOrEnd) {
    FieldRecorder receiver;
    HeaderMaker maker;
    LineReceiver& lines = maker(receiver);
    lines.Start(0);
    lines.ReceiveLineBreak({0, 1});
    lines.ReceiveEnd(1);
    EXPECT_EQ(Calls({"Start 0"}), receiver.Calls());
}

TEST(HeaderMakerTest, NewMakerBehavesAsAfterStartAtZero) {
    FieldRecorder receiver;
    HeaderMaker maker(receiver);
    maker.Receive(" continues nothing");
    maker.ReceiveLineBreak({18, 19});
    maker.Receive("a:1");
    maker.ReceiveEnd(22);
    EXPECT_EQ(CallsOf(19, "a", {"1"}, 22), receiver.Events());
}

TEST(HeaderMakerTest, StartDropsTheOpenFieldAndBeginsALine) {
    FieldRecorder receiver;
    HeaderMaker maker(receiver);
    maker.Start(0);
    maker.Receive("a:1");
    receiver.Start(100);
    maker.Start(100);
    maker.Receive(" continues nothing");
    maker.ReceiveLineBreak({118, 119});
    maker.Receive("b:2");
    maker.ReceiveEnd(122);
    EXPECT_EQ(Calls({"Start 0", "ReceiveHeaderField 0 a", "field Start", "field Receive 1",
                     "Start 100", "ReceiveHeaderField 119 b", "field Start", "field Receive 2",
                     "field ReceiveEnd", "ReceiveHeaderFieldEnd 122"}),
              receiver.Events());
}

// Before the first line break, the start position counts as an empty line break.
TEST(HeaderMakerTest, FieldEndsBeforeALineBreakThatEndsTheStream) {
    struct {
        Range<unsigned long long> lineBreak;
        unsigned long long end;
        char const* fieldEnd;
    } const cases[] = {{{3, 5}, 5, "ReceiveHeaderFieldEnd 3"},
                       {{3, 5}, 6, "ReceiveHeaderFieldEnd 6"},
                       {{0, 0}, 0, "ReceiveHeaderFieldEnd 0"}};
    for (auto const& [lineBreak, end, fieldEnd] : cases) {
        FieldRecorder receiver;
        HeaderMaker maker(receiver);
        maker.Start(0);
        maker.Receive("a:1");
        if (lineBreak.end != 0)
            maker.ReceiveLineBreak(lineBreak);
        maker.ReceiveEnd(end);
        EXPECT_EQ(fieldEnd, receiver.Calls().back());
    }
}

} // namespace
