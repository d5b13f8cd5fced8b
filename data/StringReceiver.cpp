#include "data/StringReceiver.h"

#include <cstddef>
#include <string_view>

#include "simd/CopyShort.h"

namespace {

// Kept apart, because std::string::append inline makes Append too large to be inlined.
[[gnu::noinline]] void AppendLong(std::string& target, std::string_view run) { target.append(run); }

// A short run is written over a block of constant size, which is appended and cut back: of what the
// library does for an append, that leaves a few instructions. (Cut by erase and not by resize,
// which might also grow.) The writer of XML, whose runs are a few bytes, takes 0.88 of the
// instructions.
void Append(std::string& target, std::string_view run) {
    static constexpr std::size_t block = 16;
    static constexpr char room[block] = {};
    std::size_t const size = target.size();
    // The library need not compare this size with the largest one again: that would take 5 % of the
    // writer's instructions, which its gate does not allow.
    if (size > target.max_size() - block)
        __builtin_unreachable(); // GCOVR_EXCL_LINE: no memory is so large
    if (run.size() > block || size + block > target.capacity()) {
        AppendLong(target, run);
        return;
    }
    char* const end = target.data() + size;
    target.append(room, block);
    Simd::CopyUpTo16(end, run.data(), run.size());
    target.erase(size + run.size());
}

} // namespace

DataReceiver& StringReceiver::operator()(std::string& string) {
    target = &string;
    return *this;
}

void StringReceiver::Start() { target->clear(); }

void StringReceiver::Receive(ConstData data) { Append(*target, data.View()); }

void StringReceiver::ReceiveEnd() {}
