#include "data/MessageMaker.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "data/ConstDataRopeReference.h"
#include "data/DataReceiver.h"
#include "data/LineFlattener.h"
#include "data/LineMaker.h"
#include "data/MessageReceiver.h"
#include "tests/support/Bytes.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/ForEachSplit.h"
#include "tests/support/RecordingReceivers.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Calls = std::vector<std::string>;

struct Line {
    std::size_t begin;
    std::size_t end;
    // Where the next line begins; `end` for the last line.
    std::size_t next;
};

std::vector<Line> LinesOf(std::string const& text) {
    std::vector<Line> lines;
    std::size_t begin = 0;
    for (;;) {
        std::size_t const end = text.find_first_of("\r\n", begin);
        if (end == std::string::npos) {
            lines.push_back({begin, text.size(), text.size()});
            return lines;
        }
        bool const pair = end + 1 < text.size() && text[end] + text[end + 1] == '\r' + '\n';
        lines.push_back({begin, end, end + (pair ? 2 : 1)});
        begin = lines.back().next;
    }
}

// The events, found line by line in the whole text.
class Reference {
public:
    explicit Reference(std::string const& text) : bytes(text), lines(LinesOf(text)) {
        Add("Start 0");
        std::size_t const bodyLine = Header();
        CloseField();
        Body(bodyLine);
        Add("ReceiveEnd " + std::to_string(bytes.size()));
    }

    Calls events;

private:
    void Add(std::string const& event) { events.push_back(event); }

    // Returns the index of the first line of the body, or the number of lines without a body.
    std::size_t Header() {
        for (std::size_t i = 0; i < lines.size(); ++i) {
            Line const& line = lines[i];
            if (line.begin == line.end && line.next != line.end)
                return i + 1;
            if (line.begin != line.end)
                HeaderLine(line);
        }
        return lines.size();
    }

    void HeaderLine(Line const& line) {
        std::string const text = bytes.substr(line.begin, line.end - line.begin);
        if (text[0] == ' ' || text[0] == '\t') {
            fieldEnd = line.end;
            value += " " + WithoutLeadingWhitespace(text);
            return;
        }
        CloseField();
        std::size_t const colon = text.find(':');
        if (colon == std::string::npos || colon > 47)
            return;
        std::string name = text.substr(0, colon);
        for (char& byte : name)
            byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : byte;
        Add("ReceiveHeaderField " + std::to_string(line.begin) + " " + Shown(name));
        Add("field Start");
        open = true;
        fieldEnd = line.end;
        value = WithoutLeadingWhitespace(text.substr(colon + 1));
    }

    static std::string WithoutLeadingWhitespace(std::string const& text) {
        std::size_t const first = text.find_first_not_of(" \t");
        return first == std::string::npos ? "" : text.substr(first);
    }

    void CloseField() {
        if (!open)
            return;
        if (!value.empty())
            Add("field Receive " + Shown(value));
        Add("field ReceiveEnd");
        Add("ReceiveHeaderFieldEnd " + std::to_string(fieldEnd));
        open = false;
    }

    void Body(std::size_t first) {
        std::string const begin =
            std::to_string(first < lines.size() ? lines[first].begin : bytes.size());
        Add("ReceiveBody " + begin);
        Add("body Start " + begin);
        for (std::size_t i = first; i < lines.size(); ++i) {
            Line const& line = lines[i];
            if (line.end != line.begin)
                Add("body Receive " + Shown(bytes.substr(line.begin, line.end - line.begin)));
            if (line.next != line.end)
                Add("body ReceiveLineBreak " + std::to_string(line.end) + "-" +
                    std::to_string(line.next));
        }
        Add("body ReceiveEnd " + std::to_string(bytes.size()));
    }

    std::string bytes;
    std::vector<Line> lines;
    bool open = false;
    std::string value;
    std::size_t fieldEnd = 0;
};

void ExpectForEachSplit(Calls const& expected, ConstData text) {
    ForEachSplit(text, [&](Chunks const& chunks) {
        RecordingMessageReceiver receiver;
        MessageMaker maker(receiver);
        LineMaker lines(maker);
        lines.Start();
        chunks.Feed([&](ConstData chunk) { lines.Receive(chunk); });
        lines.ReceiveEnd();
        EXPECT_EQ(expected, receiver.Events());
    });
}

TEST(MessageMakerTest, FieldsPrecedeBody) {
    ExpectForEachSplit({"Start 0", "ReceiveHeaderField 0 title", "field Start",
                        "field Receive hi there", "field ReceiveEnd", "ReceiveHeaderFieldEnd 16",
                        "ReceiveBody 18", "body Start 18", "body Receive body",
                        "body ReceiveEnd 22", "ReceiveEnd 22"},
                       "Title: hi\n there\n\nbody");
}

TEST(MessageMakerTest, ShortMessagesAgreeWithReference) {
    for (char const* const text : {"", "\n", "a: b", "a: b\n", "X-Y:\r\n\r\n", "\r\na: b\n\nc",
                                   "a:b\n \n c\n\n", " a\n\nb\r\n"}) {
        SCOPED_TRACE(text);
        ExpectForEachSplit(Reference(text).events, text);
    }
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

TEST(MessageMakerTest, StartInsideALineForgetsTheLine) {
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
    std::string const body(5000, 'x');
    EXPECT_EQ(0u, AllocationsOf([&] {
                  MessageMaker maker(ignorer);
                  LineMaker lines(maker);
                  StartReceiveAndEnd(lines, ConstDataRope{"Name: value\n continued\n\n", body});
              }));
}

TEST(MessageMakerTest, RandomMessagesAgreeWithReference) {
    unsigned const seed = 672;
    std::mt19937 random(seed);
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
        std::string const text = RandomBytes(random, random() % 24, "aB:: \t\r\n\n");
        ExpectForEachSplit(Reference(text).events, text);
        if (HasFailure())
            return;
    }
}

TEST(MessageMakerTest, NamesNearTheLimitAgreeWithReference) {
    unsigned const seed = 673;
    std::mt19937 random(seed);
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
        std::string text;
        for (int line = 0; line < 3; ++line)
            text += RandomBytes(random, 44 + random() % 8, "aB-") + RandomBytes(random, 4, ": \n");
        ExpectForEachSplit(Reference(text).events, text);
        if (HasFailure())
            return;
    }
}

// The first two slots are the destructor's.
TEST(MessageMakerTest, VirtualSlotsHaveFixedOrder) {
    EXPECT_EQ(2u, SlotOf(&MessageReceiver::Start));
    EXPECT_EQ(3u, SlotOf(&MessageReceiver::ReceiveHeaderField));
    EXPECT_EQ(4u, SlotOf(&MessageReceiver::ReceiveHeaderFieldEnd));
    EXPECT_EQ(5u, SlotOf(&MessageReceiver::ReceiveBody));
    EXPECT_EQ(6u, SlotOf(&MessageReceiver::ReceiveEnd));
}

} // namespace
