// Receivers that record their calls as text, and fail the test if the order of the calls is wrong.
//
// A log has one line for each call: "Start", "Receive abc", "ReceiveLineBreak 1-3", "ReceiveEnd 4".
// Bytes have the format of Shown(). Calls() returns every call. Events() is independent of chunk
// boundaries: it joins the texts of adjacent Receive calls and omits empty ones.
#pragma once

#include <deque>

#include <gtest/gtest.h>

#include "data/ArrayOf.h"
#include "data/ConstData.h"
#include "data/DataReceiver.h"
#include "data/LineReceiver.h"
#include "data/MessageReceiver.h"
#include "tests/support/Bytes.h"

// The calls and the events of one or more receivers.
class CallLog {
public:
    void Call(std::string const& call) {
        calls.push_back(call);
        FlushText();
        events.push_back(call);
    }

    // Records a Receive call. `prefix` is the name of the call.
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

// The log of a receiver, and whether its stream is open (after Start, before ReceiveEnd).
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

    // Start is allowed after any call.
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

// Also checks that each line break begins where the preceding text or line break ends, and that the
// stream ends where the last one ends.
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

    // For producers whose positions are not offsets in the stream.
    void IgnorePositions() { checksPositions = false; }

private:
    unsigned long long position = 0;
    bool checksPositions = true;
};

// Calls on the receivers of fields and of the body are in the same log, as "field Receive hi" and
// "body Receive hi".
class RecordingMessageReceiver : public MessageReceiver, public RecordedStream {
public:
    RecordingMessageReceiver() : RecordedStream("MessageReceiver", &log) {}

    void Start(unsigned long long position) override {
        fieldOpen = false;
        bodySeen = false;
        LogStart("Start " + std::to_string(position));
    }

    DataReceiver& ReceiveHeaderField(unsigned long long position, ConstData name) override {
        EXPECT_FALSE(fieldOpen) << "a field starts in a field";
        EXPECT_FALSE(bodySeen) << "a field starts after the body";
        fieldOpen = true;
        LogInside("ReceiveHeaderField", ' ' + std::to_string(position) + ' ' + Shown(name));
        return fields.emplace_back(log, "field ");
    }

    void ReceiveHeaderFieldEnd(unsigned long long position) override {
        EXPECT_TRUE(fieldOpen) << "a field ends without its start";
        EXPECT_TRUE(fields.empty() || !fields.back().IsOpen())
            << "ReceiveHeaderFieldEnd before ReceiveEnd on the value's receiver";
        fieldOpen = false;
        LogInside("ReceiveHeaderFieldEnd", ' ' + std::to_string(position));
    }

    LineReceiver& ReceiveBody(unsigned long long position) override {
        EXPECT_FALSE(fieldOpen) << "the body starts in a field";
        EXPECT_FALSE(bodySeen) << "a second body";
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
