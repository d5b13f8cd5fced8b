// Doubles of the push protocols: each records the calls as text and fails the test on a wrong
// order.
//
// A log has one line for each call: "Start", "Receive abc", "ReceiveLineBreak 1-3", "ReceiveEnd 4".
// Bytes have the form of Shown(). Chunk boundaries have no meaning, so there are two logs: Calls()
// has every call; Events() joins the texts of adjacent Receive calls and omits empty ones.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "data/ArrayOf.h"
#include "data/ConstData.h"
#include "data/DataReceiver.h"
#include "data/LineReceiver.h"
#include "data/MessageReceiver.h"
#include "tests/support/Bytes.h"

// The two logs. Doubles of one stream share one.
class CallLog {
public:
    void Call(std::string const& call) {
        calls.push_back(call);
        FlushText();
        events.push_back(call);
    }

    // A call with a part of a text: `prefix` names the call.
    void Text(std::string const& prefix, ConstData data) {
        calls.push_back(prefix + " " + Shown(data));
        if (data.IsEmpty())
            return;
        if (prefix != textPrefix)
            FlushText();
        textPrefix = prefix;
        text += MakeString(data);
    }

    std::vector<std::string> const& Calls() const { return calls; }

    std::vector<std::string> Events() {
        FlushText();
        return events;
    }

private:
    void FlushText() {
        if (!text.empty())
            events.push_back(textPrefix + " " + Shown(text));
        text.clear();
        textPrefix.clear();
    }

    std::vector<std::string> calls;
    std::vector<std::string> events;
    std::string textPrefix;
    std::string text;
};

// Whether a stream is between its Start and its ReceiveEnd, and its log.
class RecordedStream {
public:
    explicit RecordedStream(std::string itsName, CallLog* sharedLog = nullptr,
                            std::string itsPrefix = "")
        : log(sharedLog ? sharedLog : &ownLog),
          streamName(std::move(itsName)),
          ownPrefix(std::move(itsPrefix)) {}
    RecordedStream(RecordedStream const&) = delete;
    RecordedStream& operator=(RecordedStream const&) = delete;

    std::vector<std::string> const& Calls() const { return log->Calls(); }
    std::vector<std::string> Events() const { return log->Events(); }
    bool IsOpen() const { return open; }

protected:
    ~RecordedStream() = default;

    // Start may follow any call.
    void LogStart(std::string const& call) {
        open = true;
        log->Call(ownPrefix + call);
    }
    void LogInside(std::string const& call, std::string const& details = "") {
        EXPECT_TRUE(open) << streamName << ": " << call << " outside of Start and ReceiveEnd";
        log->Call(ownPrefix + call + details);
    }
    void LogText(ConstData data) {
        EXPECT_TRUE(open) << streamName << ": Receive outside of Start and ReceiveEnd";
        log->Text(ownPrefix + "Receive", data);
    }
    void LogEnd(std::string const& details = "") {
        LogInside("ReceiveEnd", details);
        open = false;
    }

private:
    CallLog ownLog;
    CallLog* log;
    std::string streamName;
    std::string ownPrefix;
    bool open = false;
};

class RecordingDataReceiver : public DataReceiver, public RecordedStream {
public:
    RecordingDataReceiver() : RecordedStream("DataReceiver") {}
    // Logs into `sharedLog`, with `callPrefix` before each call.
    RecordingDataReceiver(CallLog& sharedLog, std::string callPrefix)
        : RecordedStream("DataReceiver", &sharedLog, std::move(callPrefix)) {}

    using DataReceiver::Receive;

    void Start() override {
        text.clear();
        LogStart("Start");
    }
    void Receive(ConstData data) override {
        text += MakeString(data);
        LogText(data);
    }
    void ReceiveEnd() override { LogEnd(); }

    // All bytes since the last Start.
    std::string const& Text() const { return text; }

private:
    std::string text;
};

// Also checks that line breaks are within the stream, in order, and do not overlap the text between
// them.
class RecordingLineReceiver : public LineReceiver, public RecordedStream {
public:
    RecordingLineReceiver() : RecordedStream("LineReceiver") {}
    RecordingLineReceiver(CallLog& sharedLog, std::string callPrefix)
        : RecordedStream("LineReceiver", &sharedLog, std::move(callPrefix)) {}

    void Start(unsigned long long start) override {
        position = start;
        LogStart("Start " + std::to_string(start));
    }
    void Receive(ConstData data) override {
        position += data.Length();
        LogText(data);
    }
    void ReceiveLineBreak(Range<unsigned long long> range) override {
        EXPECT_LE(range.begin, range.end);
        EXPECT_TRUE(!checksPositions || range.begin == position)
            << "a line break at " << range.begin << " after text up to " << position;
        position = range.end;
        LogInside("ReceiveLineBreak",
                  ' ' + std::to_string(range.begin) + '-' + std::to_string(range.end));
    }
    void ReceiveEnd(unsigned long long end) override {
        EXPECT_TRUE(!checksPositions || end == position)
            << "the end at " << end << " after text up to " << position;
        LogEnd(' ' + std::to_string(end));
    }

    // For producers whose positions are not those of the bytes.
    void IgnorePositions() { checksPositions = false; }

private:
    unsigned long long position = 0;
    bool checksPositions = true;
};

// The streams of the fields and of the body use the same log, as "field Receive hi" and "body
// Receive hi".
class RecordingMessageReceiver : public MessageReceiver, public RecordedStream {
public:
    RecordingMessageReceiver() : RecordedStream("MessageReceiver", &log) {}

    void Start(unsigned long long position) override {
        fieldOpen = false;
        bodySeen = false;
        LogStart("Start " + std::to_string(position));
    }

    DataReceiver& ReceiveHeaderField(unsigned long long position, ConstData name) override {
        EXPECT_FALSE(fieldOpen) << "a field in a field";
        EXPECT_FALSE(bodySeen) << "a field after the start of the body";
        fieldOpen = true;
        LogInside("ReceiveHeaderField", ' ' + std::to_string(position) + ' ' + Shown(name));
        return fields.emplace_back(log, "field ");
    }

    void ReceiveHeaderFieldEnd(unsigned long long position) override {
        EXPECT_TRUE(fieldOpen) << "the end of a field without its start";
        EXPECT_TRUE(fields.empty() || !fields.back().IsOpen())
            << "ReceiveHeaderFieldEnd before ReceiveEnd on the value's receiver";
        fieldOpen = false;
        LogInside("ReceiveHeaderFieldEnd", ' ' + std::to_string(position));
    }

    LineReceiver& ReceiveBody(unsigned long long position) override {
        EXPECT_FALSE(fieldOpen) << "the body starts in a field";
        EXPECT_FALSE(bodySeen) << "two bodies";
        bodySeen = true;
        LogInside("ReceiveBody", ' ' + std::to_string(position));
        return body;
    }

    void ReceiveEnd(unsigned long long position) override {
        EXPECT_TRUE(bodySeen) << "a message without a body";
        EXPECT_FALSE(body.IsOpen()) << "ReceiveEnd before ReceiveEnd on the body's receiver";
        LogEnd(' ' + std::to_string(position));
    }

private:
    CallLog log;
    std::deque<RecordingDataReceiver> fields;
    RecordingLineReceiver body{log, "body "};
    bool fieldOpen = false;
    bool bodySeen = false;
};
