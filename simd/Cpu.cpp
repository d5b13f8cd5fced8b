#include "simd/Cpu.h"

#if SIMD_X86
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace Simd {

namespace {

#if SIMD_X86

struct Answer {
    unsigned int eax = 0;
    unsigned int ebx = 0;
    unsigned int ecx = 0;
    unsigned int edx = 0;
};

// Returns the registers of the CPUID leaf, subleaf 0; all zero if the processor has no such leaf.
Answer Ask(unsigned int leaf) {
    Answer answer;
    __get_cpuid_count(leaf, 0, &answer.eax, &answer.ebx, &answer.ecx, &answer.edx);
    return answer;
}

constexpr bool HasAll(unsigned int bits, unsigned int wanted) { return (bits & wanted) == wanted; }

// REQUIRES: CPUID reports OSXSAVE.
[[gnu::target("xsave")]] bool SystemSavesWideRegisters() {
    constexpr unsigned int xmmAndYmm = 0b110;
    return HasAll(static_cast<unsigned int>(_xgetbv(0)), xmmAndYmm);
}

// GCOVR_EXCL_BR_START: a processor answers in one way only
Level AskProcessor() {
    unsigned int const features = Ask(1).ecx;
    if (!HasAll(features, bit_SSSE3 | bit_POPCNT | bit_PCLMUL))
        return Level::sse2; // GCOVR_EXCL_LINE: as above
    if (!HasAll(features, bit_OSXSAVE | bit_AVX) || !SystemSavesWideRegisters() ||
        !HasAll(Ask(7).ebx, bit_AVX2))
        return Level::ssse3; // GCOVR_EXCL_LINE: as above
    return Level::avx2;
}
// GCOVR_EXCL_BR_STOP

#else

Level AskProcessor() { return Level::scalar; }

#endif

} // namespace

constinit std::atomic<unsigned char> Detail::usedLevel = Detail::unknownLevel;

unsigned char Detail::FindUsedLevel() {
    auto const found = static_cast<unsigned char>(AskProcessor());
    usedLevel.store(found, std::memory_order_relaxed);
    return found;
}

Level BestLevel() { return AskProcessor(); }

PinnedLevel::PinnedLevel(Level level)
    : before(Detail::usedLevel.exchange(static_cast<unsigned char>(level))) {}

PinnedLevel::~PinnedLevel() { Detail::usedLevel = before; }

} // namespace Simd
