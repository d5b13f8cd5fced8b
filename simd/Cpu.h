// Instruction set levels: the highest one of the processor, and the one that kernels use.
#pragma once

#include <atomic>

// 1 if the build has SIMD kernels. 0 if it has only the scalar references: with -DCC_SIMD=OFF, and
// on every processor except x86-64.
#if defined(__x86_64__) && defined(__SSE2__) && !defined(CC_NO_SIMD)
#define SIMD_X86 1
#else
#define SIMD_X86 0
#endif

// Compile one function for a level above the baseline. REQUIRES: Uses(level) is true at each call.
#define SIMD_TARGET_SSSE3 [[gnu::target("ssse3,popcnt,pclmul")]]
#define SIMD_TARGET_AVX2 [[gnu::target("avx2")]]

namespace Simd {

// Each level includes the previous ones.
enum class Level : unsigned char {
    scalar, // plain C++
    sse2,   // every x86-64 processor
    ssse3,  // SSSE3, POPCNT and PCLMULQDQ
    avx2,   // AVX2, if the operating system saves the 256-bit registers
};

// The level of every processor on which the build can run. Kernels of this level need no check.
inline constexpr Level baseline = SIMD_X86 ? Level::sse2 : Level::scalar;

// Returns the highest level of this processor in this build. Each call queries the processor.
Level BestLevel();

namespace Detail {

inline constexpr unsigned char unknownLevel = 0xFF;
extern std::atomic<unsigned char> usedLevel;

// Queries the processor, and stores and returns its level. Concurrent calls store the same level.
[[gnu::cold]] unsigned char FindUsedLevel();

} // namespace Detail

// True if kernels may use `level`: it is at most the pinned level, or BestLevel() if none is
// pinned. The first call for a level above the baseline queries the processor, unless a level is
// pinned; later calls cost one load. Thread-safe.
//
// Deliberate: not __builtin_cpu_supports, which queries the processor before `main` in every
// program that links it. On a virtual machine, the hypervisor handles each query. The queries took
// a tenth of the run time of a program as short as the tool.
inline bool Uses(Level level) {
    if (level <= baseline)
        return true;
    unsigned char used = Detail::usedLevel.load(std::memory_order_relaxed);
    if (used == Detail::unknownLevel)
        used = Detail::FindUsedLevel();
    return static_cast<unsigned char>(level) <= used;
}

// Pins the level for the lifetime of this object, for tests and benchmarks. Affects all threads.
// The destructor restores the previous level.
// REQUIRES: no other thread runs a kernel at construction or destruction.
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
