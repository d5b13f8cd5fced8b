#include "data/LineMaker.h"

#include <algorithm>
#include <cstring>

#include "data/LineReceiver.h"

namespace {

constexpr unsigned char cr = '\r';
constexpr unsigned char lf = '\n';

bool IsBreak(unsigned char byte) { return byte == cr || byte == lf; }

// Finds the breaks of one chunk in order. The search for CR or LF continues after the last match of
// the same byte. So text without CR is searched for CR once, not once for each line.
class BreakFinder {
public:
    explicit BreakFinder(ConstData chunk)
        : end(chunk.end), nextCr(Find(chunk.begin, cr)), nextLf(Find(chunk.begin, lf)) {}

    // Returns the first break at or after `from`, or the end of the chunk. REQUIRES: `from` does
    // not decrease.
    unsigned char const* Next(unsigned char const* from) {
        if (nextCr < from)
            nextCr = Find(from, cr);
        if (nextLf < from)
            nextLf = Find(from, lf);
        return std::min(nextCr, nextLf);
    }

private:
    unsigned char const* Find(unsigned char const* from, unsigned char byte) const {
        void const* found = std::memchr(from, byte, ConstData(from, end).Length());
        return found == nullptr ? end : static_cast<unsigned char const*>(found);
    }

    unsigned char const* end;
    unsigned char const* nextCr;
    unsigned char const* nextLf;
};

} // namespace

DataReceiver& LineMaker::operator()(LineReceiver& receiver) {
    target = &receiver;
    return *this;
}

void LineMaker::Start() { Start(0); }

void LineMaker::Start(unsigned long long offset) {
    position = offset;
    pendingBreak = 0;
    target->Start(offset);
}

void LineMaker::Receive(ConstData data) {
    if (data.IsEmpty())
        return;
    BreakFinder breaks(data);
    for (unsigned char const* next = data.begin; next != data.end;) {
        if (pendingBreak != 0) {
            bool const isPair = IsBreak(*next) && *next != pendingBreak;
            if (isPair)
                ++next;
            DeliverPendingBreak(isPair ? 2 : 1);
        } else if (IsBreak(*next)) {
            pendingBreak = *next++;
        } else {
            ConstData const text(next, breaks.Next(next));
            target->Receive(text);
            position += text.Length();
            next = text.end;
        }
    }
}

void LineMaker::ReceiveEnd() {
    if (pendingBreak != 0)
        DeliverPendingBreak(1);
    target->ReceiveEnd(position);
}

void LineMaker::DeliverPendingBreak(unsigned long long length) {
    target->ReceiveLineBreak({position, position + length});
    position += length;
    pendingBreak = 0;
}
