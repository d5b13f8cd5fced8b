// Compares MessageMaker, for any chunk boundaries, with a reference implementation on whole lines.
#pragma once

#include "data/MessageMaker.h"
#include "data/MessageReceiver.h"
#include "fuzz/Lines.h"
#include "fuzz/ReferenceCase.h"

namespace MessageProperties {

using Events = std::vector<std::string>;

// Collects the value of the current field, which may have any number of chunks, including none.
class FieldValue : public DataReceiver {
public:
    using DataReceiver::Receive;

    void Start() override {
        Require(!isOpen, "a value is started once");
        isOpen = true;
        text.clear();
    }
    void Receive(ConstData data) override {
        Require(isOpen, "chunks of a value are between its start and its end");
        text += MakeString(data);
    }
    void ReceiveEnd() override {
        Require(isOpen, "a value is ended once");
        isOpen = false;
    }

    bool isOpen = false;
    std::string text;
};

class MessageEvents : public MessageReceiver {
public:
    void Start(unsigned long long position) override { Add("start", position); }
    DataReceiver& ReceiveHeaderField(unsigned long long position, ConstData name) override {
        Add("field " + MakeString(name), position);
        return value;
    }
    void ReceiveHeaderFieldEnd(unsigned long long position) override {
        Require(!value.isOpen, "the value ends before its field");
        Add("value " + value.text, position);
    }
    LineReceiver& ReceiveBody(unsigned long long position) override {
        Add("body", position);
        return body;
    }
    void ReceiveEnd(unsigned long long position) override {
        all.insert(all.end(), body.all.begin(), body.all.end());
        Add("end", position);
    }

    Events all;

private:
    void Add(std::string const& event, unsigned long long position) {
        all.push_back(event + " at " + std::to_string(position));
    }

    FieldValue value;
    LineCalls body;
};

inline std::string WithoutLeadingSpaces(std::string_view text) {
    return std::string(text.substr(std::min(text.find_first_not_of(" \t"), text.size())));
}

// Reference implementation of the header. Takes lines that are not empty.
class ReferenceHeader {
public:
    explicit ReferenceHeader(Events& target) : events(target) {}

    void Take(ReferenceLine const& line) {
        if (line.text[0] == ' ' || line.text[0] == '\t')
            value += ' ' + WithoutLeadingSpaces(line.text);
        else
            Begin(line);
        end = line.breakBegin;
    }

    void Finish() {
        if (isOpen)
            events.push_back("value " + value + " at " + std::to_string(end));
        isOpen = false;
    }

private:
    void Begin(ReferenceLine const& line) {
        Finish();
        std::size_t const colon = line.text.find(':');
        if (colon == std::string_view::npos || colon > maxNameLength)
            return;
        isOpen = true;
        value = WithoutLeadingSpaces(line.text.substr(colon + 1));
        events.push_back("field " +
                         ReferenceCase::Lowered(std::string(line.text.substr(0, colon))) + " at " +
                         std::to_string(line.begin));
    }

    static constexpr std::size_t maxNameLength = 47;

    Events& events;
    bool isOpen = false;
    std::string value;
    unsigned long long end = 0;
};

inline Events ReferenceRead(std::string_view text, unsigned long long offset) {
    std::vector<ReferenceLine> lines = ReferenceLines(text, offset);
    Events events{"start at " + std::to_string(offset)};
    unsigned long long const end = offset + text.size();
    ReferenceHeader header(events);
    auto const isEmpty = [](ReferenceLine const& line) {
        return line.text.empty();
    };
    // A last line that is empty and has no break also starts an empty body.
    auto const empty = std::find_if(lines.begin(), lines.end(), isEmpty);
    std::for_each(lines.begin(), empty, [&](ReferenceLine const& line) { header.Take(line); });
    header.Finish();
    lines.erase(lines.begin(), empty == lines.end() ? empty : empty + 1);
    if (lines.empty())
        lines.push_back({end, {}, end, end});
    events.push_back("body at " + std::to_string(lines.front().begin));
    Events const body = ReferenceCalls(lines);
    events.insert(events.end(), body.begin(), body.end());
    events.push_back("end at " + std::to_string(end));
    return events;
}

// Compares a message in chunks, in a stream that starts at `offset`.
inline void Compare(Chunks const& chunks, std::string_view text, unsigned long long offset) {
    MessageEvents events;
    MessageMaker message(events);
    LineMaker lines(message);
    lines.Start(offset);
    chunks.Feed([&](ConstData chunk) { lines.Receive(chunk); });
    lines.ReceiveEnd();
    Require(events.all == ReferenceRead(text, offset), "a message agrees with the reference");
}

// Input: the lengths of the chunks, a byte for the start of the stream, and the text.
inline void Check(Fuzz::Input input) {
    std::vector<std::size_t> const lengths = Fuzz::TakeLengths(input);
    unsigned long long const offset = input.Byte();
    Compare(SplitByLengths(input.Rest(), lengths), input.Rest(), offset);
}

} // namespace MessageProperties
