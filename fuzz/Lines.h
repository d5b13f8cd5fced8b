// Reference implementation of LineMaker, which scans the whole text, and a receiver that records
// calls.
#pragma once

#include "data/LineMaker.h"
#include "data/LineReceiver.h"
#include "fuzz/Fuzz.h"
#include "tests/support/Chunks.h"

// Records the calls as texts. Joins the chunks of a line.
class LineCalls : public LineReceiver {
public:
    void Start(unsigned long long position) override { Add("start " + std::to_string(position)); }
    void Receive(ConstData data) override {
        Require(!data.IsEmpty(), "no chunk is empty");
        text += MakeString(data);
    }
    void ReceiveLineBreak(Range<unsigned long long> range) override {
        Add("break " + std::to_string(range.begin) + "-" + std::to_string(range.end));
    }
    void ReceiveEnd(unsigned long long position) override {
        Add("end " + std::to_string(position));
    }

    std::vector<std::string> all;

private:
    void Add(std::string const& call) {
        if (!text.empty())
            all.push_back("text " + text);
        text.clear();
        all.push_back(call);
    }

    std::string text;
};

// A line and the offsets of its break in the stream. The last line has an empty break.
struct ReferenceLine {
    unsigned long long begin;
    std::string_view text;
    unsigned long long breakBegin;
    unsigned long long breakEnd;

    bool HasBreak() const { return breakBegin != breakEnd; }
};

inline bool IsLineBreak(char byte) { return byte == '\r' || byte == '\n'; }

// Splits text into lines. Two adjacent break bytes that differ (CR LF, LF CR) are one break. There
// is always a last line without a break, possibly empty.
inline std::vector<ReferenceLine> ReferenceLines(std::string_view text, unsigned long long offset) {
    std::vector<ReferenceLine> lines;
    for (std::size_t from = 0;;) {
        std::size_t at = from;
        while (at < text.size() && !IsLineBreak(text[at]))
            ++at;
        std::size_t next = at;
        if (at < text.size())
            ++next;
        if (next > at && next < text.size() && IsLineBreak(text[next]) && text[next] != text[at])
            ++next;
        lines.push_back({offset + from, text.substr(from, at - from), offset + at, offset + next});
        if (next == at)
            return lines;
        from = next;
    }
}

// Returns the expected calls of a LineReceiver for consecutive lines.
inline std::vector<std::string> ReferenceCalls(std::vector<ReferenceLine> const& lines) {
    LineCalls calls;
    calls.Start(lines.front().begin);
    for (ReferenceLine const& line : lines) {
        if (!line.text.empty())
            calls.Receive(ConstData(line.text));
        if (line.HasBreak())
            calls.ReceiveLineBreak({line.breakBegin, line.breakEnd});
    }
    calls.ReceiveEnd(lines.back().breakEnd);
    return calls.all;
}

// Compares the calls for a stream of chunks, which starts at `offset`, with those for the whole
// text.
inline void CompareLines(Chunks const& chunks, std::string_view text, unsigned long long offset) {
    LineCalls calls;
    LineMaker lines(calls);
    lines.Start(offset);
    chunks.Feed([&](ConstData chunk) { lines.Receive(chunk); });
    lines.ReceiveEnd();
    Require(calls.all == ReferenceCalls(ReferenceLines(text, offset)),
            "lines and breaks agree with the reference");
}
