// Doubles of the push protocols: each logs the calls as text and fails the test on a wrong order.
//
// A log has one line a call: "Start", "Receive abc", "ReceiveLineBreak 1-3", "ReceiveEnd 4". Bytes
// are shown as by Shown(). Where a stream is cut carries no meaning, so there are two logs: Calls()
// has every call, Events() joins the texts of neighbouring Receive calls and drops empty ones.
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

// The two logs. Doubles that belong to one stream share one.
class CallLog {
public:
    void Call(std::string const& call) {
        calls.push_back(call);
        FlushText();
        events.push_back(call);
    }

    // A call that carries a part of a text: `prefix` names the call.
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

// Whether a stream is between its Start and its ReceiveEnd.
class StreamOrder {
public:
    explicit StreamOrder(std::string streamName) : name(std::move(streamName)) {}

    // Start may follow anything.
    void Start() { open = true; }
    void Inside(char const* call) const {
        EXPECT_TRUE(open) << name << ": " << call << " outside of Start and ReceiveEnd";
    }
    void End() {
        Inside("ReceiveEnd");
        open = false;
    }

    bool IsOpen() const { return open; }

private:
    std::string name;
    bool open = false;
};

class RecordingDataReceiver : public DataReceiver {
public:
    RecordingDataReceiver() : log(&ownLog) {}
    // Logs into `sharedLog`, with `callPrefix` before each call.
    RecordingDataReceiver(CallLog& sharedLog, std::string callPrefix)
        : log(&sharedLog), prefix(std::move(callPrefix)) {}

    using DataReceiver::Receive;

    void Start() override {
        order.Start();
        text.clear();
        log->Call(prefix + "Start");
    }
    void Receive(ConstData data) override {
        order.Inside("Receive");
        text += MakeString(data);
        log->Text(prefix + "Receive", data);
    }
    void ReceiveEnd() override {
        order.End();
        log->Call(prefix + "ReceiveEnd");
    }

    std::vector<std::string> const& Calls() const { return log->Calls(); }
    std::vector<std::string> Events() const { return log->Events(); }

    // All bytes since the last Start.
    std::string const& Text() const { return text; }
    bool IsOpen() const { return order.IsOpen(); }

private:
    CallLog ownLog;
    CallLog* log;
    std::string prefix;
    StreamOrder order{"DataReceiver"};
    std::string text;
};

// Checks beside the order that breaks lie in the stream, one behind the other and behind the text
// between them.
class RecordingLineReceiver : public LineReceiver {
public:
    RecordingLineReceiver() : log(&ownLog) {}
    RecordingLineReceiver(CallLog& sharedLog, std::string callPrefix)
        : log(&sharedLog), prefix(std::move(callPrefix)) {}

    void Start(unsigned long long start) override {
        order.Start();
        position = start;
        log->Call(prefix + "Start " + std::to_string(start));
    }
    void Receive(ConstData data) override {
        order.Inside("Receive");
        position += data.Length();
        log->Text(prefix + "Receive", data);
    }
    void ReceiveLineBreak(Range<unsigned long long> range) override {
        order.Inside("ReceiveLineBreak");
        EXPECT_LE(range.begin, range.end);
        EXPECT_TRUE(!checksPositions || range.begin == position)
            << "a break at " << range.begin << " behind text up to " << position;
        position = range.end;
        log->Call(prefix + "ReceiveLineBreak " + std::to_string(range.begin) + "-" +
                  std::to_string(range.end));
    }
    void ReceiveEnd(unsigned long long end) override {
        order.End();
        EXPECT_TRUE(!checksPositions || end == position)
            << "the end at " << end << " behind text up to " << position;
        log->Call(prefix + "ReceiveEnd " + std::to_string(end));
    }

    // For producers whose positions do not follow the bytes.
    void IgnorePositions() { checksPositions = false; }

    std::vector<std::string> const& Calls() const { return log->Calls(); }
    std::vector<std::string> Events() const { return log->Events(); }
    bool IsOpen() const { return order.IsOpen(); }

private:
    CallLog ownLog;
    CallLog* log;
    std::string prefix;
    StreamOrder order{"LineReceiver"};
    unsigned long long position = 0;
    bool checksPositions = true;
};

// The streams of the fields and of the body log into the same log, as "field Receive hi" and
// "body Receive hi".
class RecordingMessageReceiver : public MessageReceiver {
public:
    void Start(unsigned long long position) override {
        order.Start();
        fieldOpen = false;
        bodySeen = false;
        log.Call("Start " + std::to_string(position));
    }

    DataReceiver& ReceiveHeaderField(unsigned long long position, ConstData name) override {
        order.Inside("ReceiveHeaderField");
        EXPECT_FALSE(fieldOpen) << "a field in a field";
        EXPECT_FALSE(bodySeen) << "a field behind the body's begin";
        fieldOpen = true;
        log.Call("ReceiveHeaderField " + std::to_string(position) + " " + Shown(name));
        return fields.emplace_back(log, "field ");
    }

    void ReceiveHeaderFieldEnd(unsigned long long position) override {
        order.Inside("ReceiveHeaderFieldEnd");
        EXPECT_TRUE(fieldOpen) << "the end of a field without its begin";
        EXPECT_TRUE(fields.empty() || !fields.back().IsOpen())
            << "ReceiveHeaderFieldEnd before ReceiveEnd on the value's receiver";
        fieldOpen = false;
        log.Call("ReceiveHeaderFieldEnd " + std::to_string(position));
    }

    LineReceiver& ReceiveBody(unsigned long long position) override {
        order.Inside("ReceiveBody");
        EXPECT_FALSE(fieldOpen) << "the body begins in a field";
        EXPECT_FALSE(bodySeen) << "two bodies";
        bodySeen = true;
        log.Call("ReceiveBody " + std::to_string(position));
        return body;
    }

    void ReceiveEnd(unsigned long long position) override {
        EXPECT_TRUE(bodySeen) << "a message without a body";
        EXPECT_FALSE(body.IsOpen()) << "ReceiveEnd before ReceiveEnd on the body's receiver";
        order.End();
        log.Call("ReceiveEnd " + std::to_string(position));
    }

    std::vector<std::string> const& Calls() const { return log.Calls(); }
    std::vector<std::string> Events() { return log.Events(); }

private:
    CallLog log;
    StreamOrder order{"MessageReceiver"};
    std::deque<RecordingDataReceiver> fields;
    RecordingLineReceiver body{log, "body "};
    bool fieldOpen = false;
    bool bodySeen = false;
};
