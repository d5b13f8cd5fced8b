// The cutting into lines, in any cutting of the stream, against a walk over the whole text.
#include <string>
#include <string_view>
#include <vector>

#include "data/LineMaker.h"
#include "data/LineReceiver.h"
#include "fuzz/Fuzz.h"

namespace {

// The calls as texts; what is received in pieces is joined.
class Calls : public LineReceiver {
public:
    void Start(unsigned long long position) override { Add("start " + std::to_string(position)); }
    void Receive(ConstData data) override {
        Fuzz::Require(!data.IsEmpty(), "no piece is empty");
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

bool IsBreak(char byte) { return byte == '\r' || byte == '\n'; }

// Two different break bytes side by side are one break.
Calls WalkOver(std::string_view text, unsigned long long offset) {
    Calls calls;
    calls.Start(offset);
    for (std::size_t at = 0; at < text.size();) {
        if (!IsBreak(text[at])) {
            calls.Receive(ConstData(text.substr(at++, 1)));
            continue;
        }
        bool const isPair =
            at + 1 < text.size() && IsBreak(text[at + 1]) && text[at + 1] != text[at];
        std::size_t const length = isPair ? 2 : 1;
        calls.ReceiveLineBreak({offset + at, offset + at + length});
        at += length;
    }
    calls.ReceiveEnd(offset + text.size());
    return calls;
}

} // namespace

// The cuts, a byte for where the stream begins, and the text.
int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    Fuzz::Cutting const cutting(input);
    unsigned long long const offset = input.Byte();

    Calls calls;
    LineMaker lines(calls);
    lines.Start(offset);
    cutting.Feed(input.Rest(), [&](char const* bytes, std::size_t length) {
        lines.Receive(ConstData(bytes, length));
    });
    lines.ReceiveEnd();
    Fuzz::Require(calls.all == WalkOver(input.Rest(), offset).all,
                  "lines and breaks are where a walk over the text finds them");
    return 0;
}
