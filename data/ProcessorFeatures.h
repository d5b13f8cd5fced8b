// What this processor can do beyond what every x86-64 processor can.
//
//     if (ProcessorFeatures::avx2.IsThere())
//
// Deliberate: not __builtin_cpu_supports, which has the processor asked before `main` of each
// program that it is linked into. On a virtual machine every such question goes to the host, and
// all of them took a tenth of the time of a program as short as the tool.
#pragma once

#include <atomic>

namespace ProcessorFeatures {

// Found out when it is first asked for; from then on that costs one load.
class Feature {
public:
    constexpr explicit Feature(bool (*askProcessor)()) : ask(askProcessor) {}

    bool IsThere() {
        Known const now = known.load(std::memory_order_relaxed);
        return now == Known::yes || (now == Known::nothing && FindOut());
    }

private:
    enum class Known : unsigned char { nothing, no, yes };

    // Threads that are here at once find the same.
    [[gnu::cold]] bool FindOut();

    bool (*ask)();
    std::atomic<Known> known = Known::nothing;
};

// AVX2, in the processor and in the system, which has to save the wide registers.
extern Feature avx2;

// PCLMULQDQ and SSSE3.
extern Feature carrylessMultiplication;

// SSSE3 and POPCNT.
extern Feature byteShuffles;

} // namespace ProcessorFeatures
