#include "data/HeaderMaker.h"

#include "tests/data/DataTest.h"

namespace {

// The mock expects the Start that a MessageMaker sends; a HeaderMaker makes no such call.
class FieldRecorder : public RecordingMessageReceiver {
public:
    FieldRecorder() { Start(0); }
};

struct Field {
    unsigned position;
    std::string name; // In the format of Shown, like the value.
    std::string value;
    unsigned end;
};

struct HeaderCase {
    char const* behaviour;
    std::string text;
    std::vector<Field> fields;
};

std::vector<HeaderCase> HeaderCases() {
    std::string const longest(47, 'N');
    return {
        {"name in lower case, value without leading whitespace",
         "X-Title: \tHi There  \n",
         {{0, "x-title", "Hi There  ", 20}}},
        {"name is not trimmed, other bytes stay",
         Bytes("A \xC4\0Z :v"),
         {{0, "a \\C4\\00z ", "v", 8}}},
        {"empty name", ":v\nx", {{0, "", "v", 2}}},
        {"empty value", "X-Y:\n", {{0, "x-y", "", 4}}},
        {"colons in a value", "u:http://x:1", {{0, "u", "http://x:1", 12}}},
        {"position and end of fields", "a:1\r\nb:2\r\n", {{0, "a", "1", 3}, {5, "b", "2", 8}}},
        {"last field without a line break", "a:1", {{0, "a", "1", 3}}},
        {"continuation adds one space", "a: 1\n\t \t2\n   3\n", {{0, "a", "1 2 3", 14}}},
        {"continuations of whitespace", "a:1\t \n   \n 2 \n", {{0, "a", "1\\09   2 ", 13}}},
        {"line without a colon",
         "junk\nb:1\nno\n go:\nd:2",
         {{5, "b", "1", 8}, {17, "d", "2", 20}}},
        {"continuation of no field", " x: y\na:1", {{6, "a", "1", 9}}},
        // Deliberate: one byte of the 48-byte buffer is never used.
        {"name of 47 bytes", longest + ": v", {{0, std::string(47, 'n'), "v", 50}}},
        {"name of 48 bytes", longest + "N: v\n continued\n", {}},
        {"name of 141 bytes", longest + longest + longest + ": v", {}},
        {"field after a name of 48 bytes", longest + "N: v\nb:1\n 2", {{52, "b", "1 2", 58}}},
        {"field before a name of 48 bytes", "a:1\n" + longest + "N:2\n 3\n", {{0, "a", "1", 3}}},
    };
}

Calls EventsOf(std::vector<Field> const& fields) {
    Calls events{"Start 0"};
    for (Field const& field : fields) {
        events.push_back("ReceiveHeaderField " + std::to_string(field.position) + " " + field.name);
        events.push_back("field Start");
        if (!field.value.empty())
            events.push_back("field Receive " + field.value);
        events.push_back("field ReceiveEnd");
        events.push_back("ReceiveHeaderFieldEnd " + std::to_string(field.end));
    }
    return events;
}

TEST(HeaderMakerTest, ReportsFieldsHoweverTheHeaderIsSplit) {
    for (HeaderCase const& header : HeaderCases()) {
        SCOPED_TRACE(header.behaviour);
        Calls const expected = EventsOf(header.fields);
        ForEachSplit(header.text, [&](Chunks const& chunks) {
            FieldRecorder receiver;
            HeaderMaker maker(receiver);
            LineMaker lines(maker);
            Send(chunks, lines);
            EXPECT_EQ(expected, receiver.Events());
        });
    }
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
    Calls expected = EventsOf({{0, "x-y", "", 4}});
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
    EXPECT_EQ(EventsOf({{19, "a", "1", 22}}), receiver.Events());
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

// Before the first line break, the start position counts as an empty one.
TEST(HeaderMakerTest, FieldEndsBeforeALastLineBreakOnly) {
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
