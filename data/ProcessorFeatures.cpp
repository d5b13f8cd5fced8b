#include "data/ProcessorFeatures.h"

#include <cpuid.h>
#include <immintrin.h>

namespace {

struct Answer {
    unsigned int eax = 0;
    unsigned int ebx = 0;
    unsigned int ecx = 0;
    unsigned int edx = 0;
};

// All zero where the processor has no answer.
Answer Ask(unsigned int leaf) {
    Answer answer;
    __get_cpuid_count(leaf, 0, &answer.eax, &answer.ebx, &answer.ecx, &answer.edx);
    return answer;
}

constexpr bool HasAll(unsigned int bits, unsigned int wanted) { return (bits & wanted) == wanted; }

// REQUIRES: the processor tells OSXSAVE.
[[gnu::target("xsave")]] bool SystemSavesWideRegisters() {
    constexpr unsigned int xmmAndYmm = 0b110;
    return HasAll(static_cast<unsigned int>(_xgetbv(0)), xmmAndYmm);
}

// GCOVR_EXCL_BR_START: a processor answers in one way only
bool HasAvx2() {
    return HasAll(Ask(1).ecx, bit_OSXSAVE | bit_AVX) && SystemSavesWideRegisters() &&
           HasAll(Ask(7).ebx, bit_AVX2);
}
// GCOVR_EXCL_BR_STOP

bool HasCarrylessMultiplication() { return HasAll(Ask(1).ecx, bit_PCLMUL | bit_SSSE3); }

bool HasByteShuffles() { return HasAll(Ask(1).ecx, bit_SSSE3 | bit_POPCNT); }

} // namespace

bool ProcessorFeatures::Feature::FindOut() {
    bool const found = ask();
    known.store(found ? Known::yes : Known::no, std::memory_order_relaxed);
    return found;
}

// NOLINTBEGIN(cert-err58-cpp): constinit, so no code runs for them
constinit ProcessorFeatures::Feature ProcessorFeatures::avx2(HasAvx2);
constinit ProcessorFeatures::Feature
    ProcessorFeatures::carrylessMultiplication(HasCarrylessMultiplication);
constinit ProcessorFeatures::Feature ProcessorFeatures::byteShuffles(HasByteShuffles);
// NOLINTEND(cert-err58-cpp)
