// The instruction sets of the processor, and which of them the kernels use.
#pragma once

#include <atomic>

// 1 in a build with vector kernels, 0 where the scalar references are the only form: with
// -DCC_SIMD=OFF, and on any processor but x86-64.
#if defined(__SSE2__) && !defined(CC_NO_SIMD)
#define SIMD_X86 1
#else
#define SIMD_X86 0
#endif

// Compile one function for a level above the baseline. REQUIRES: Uses() that level at the call.
#define SIMD_TARGET_SSSE3 [[gnu::target("ssse3,popcnt,pclmul")]]
#define SIMD_TARGET_AVX2 [[gnu::target("avx2")]]

namespace Simd {

// Each level includes those before it.
enum class Level : unsigned char {
    scalar, // plain C++
    sse2,   // every x86-64 processor
    ssse3,  // SSSE3, POPCNT and PCLMULQDQ
    avx2,   // AVX2, in the processor and in the system, which has to save the wide registers
};

// The level that needs no question. Kernels of this level are inline and cannot be switched off.
inline constexpr Level baseline = SIMD_X86 ? Level::sse2 : Level::scalar;

// The highest level of this processor in this build. The processor is asked anew at each call.
Level BestLevel();

namespace Detail {

inline constexpr unsigned char unknownLevel = 0xFF;
extern std::atomic<unsigned char> usedLevel;

// Asks the processor, and keeps the answer. Concurrent calls keep the same one.
[[gnu::cold]] unsigned char FindUsedLevel();

} // namespace Detail

// Whether kernels may use `level`: it is at most the best level, or the pinned one. The first call
// asks the processor; later calls cost one load. Thread-safe.
//
// Deliberate: not __builtin_cpu_supports, which asks the processor before `main` of every program
// that links it. On a virtual machine each such question goes to the host, and all of them took a
// tenth of the run time of a program as short as the tool.
inline bool Uses(Level level) {
    if (level <= baseline)
        return true;
    unsigned char used = Detail::usedLevel.load(std::memory_order_relaxed);
    if (used == Detail::unknownLevel)
        used = Detail::FindUsedLevel();
    return static_cast<unsigned char>(level) <= used;
}

// Pins the level for the lifetime of this object, for tests and benchmarks. Concerns all threads,
// and is not for use while another thread runs a kernel.
class PinnedLevel {
public:
    // REQUIRES: `level` is from `baseline` to BestLevel().
    explicit PinnedLevel(Level level);
    ~PinnedLevel();
    PinnedLevel(PinnedLevel const&) = delete;
    PinnedLevel& operator=(PinnedLevel const&) = delete;

private:
    unsigned char before;
};

} // namespace Simd
