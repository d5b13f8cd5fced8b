// Runs an evaluation in a thread with a small stack. If the stack is too small, the process must
// terminate at its guard page: no byte below the guard page may change.
//
// A separate program: it links the libraries as shipped, without replaced system calls.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <system_error>

#include <pthread.h>
#include <sys/mman.h>

#include "compliance/Compliance.h"
#include "tests/support/OtherProcess.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/system/Documents.h"

namespace {

constexpr std::size_t KiB = 1024;
// The minimum that libclientcompliance(3) states.
constexpr std::size_t documentedStackSize = 128 * KiB;

void Check(int error) {
    if (error != 0)
        throw std::system_error(error, std::generic_category(), "a stack above a canary");
}

// In the order of addresses: a canary, a guard page, the stack of a thread. Forked processes share
// them.
class StackAboveCanary {
public:
    explicit StackAboveCanary(std::size_t bytes)
        : stackSize(bytes),
          begin(static_cast<unsigned char*>(mmap(nullptr, Size(), PROT_READ | PROT_WRITE,
                                                 MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1,
                                                 0))) {
        Check(begin == MAP_FAILED ? errno : 0);
        std::fill_n(begin, canarySize, pattern);
        Check(mprotect(begin + canarySize, guardSize, PROT_NONE) == 0 ? 0 : errno);
    }
    ~StackAboveCanary() { munmap(begin, Size()); }
    StackAboveCanary(StackAboveCanary const&) = delete;
    StackAboveCanary& operator=(StackAboveCanary const&) = delete;

    // Runs a function in a thread on this stack, and joins the thread.
    void Run(void* (*function)(void*), void* argument) const {
        pthread_attr_t attributes;
        Check(pthread_attr_init(&attributes));
        Check(pthread_attr_setstack(&attributes, begin + canarySize + guardSize, stackSize));
        pthread_t thread;
        Check(pthread_create(&thread, &attributes, function, argument));
        Check(pthread_join(thread, nullptr));
        pthread_attr_destroy(&attributes);
    }

    std::size_t ChangedBytesOfCanary() const {
        return canarySize -
               static_cast<std::size_t>(std::count(begin, begin + canarySize, pattern));
    }

private:
    static constexpr unsigned char pattern = 0xA5;
    // More than the largest frame of the library.
    static constexpr std::size_t canarySize = 256 * KiB;
    static constexpr std::size_t guardSize = 4 * KiB;

    std::size_t Size() const { return canarySize + guardSize + stackSize; }

    std::size_t const stackSize;
    unsigned char* const begin;
};

struct Codes {
    int open = 1;
    int progress = 0;
    int close = 1;
};

void* Evaluate(void* argument) {
    Codes& codes = *static_cast<Codes*>(argument);
    int percent = 0;
    int error = 0;
    codes.open = COMPLIANCE_Open("url", "doc", 0);
    codes.progress = COMPLIANCE_Progress(&percent, &error);
    codes.close = COMPLIANCE_Close();
    return nullptr;
}

// Evaluates in a thread of a separate process. Returns the exit status of that process.
ExitStatus EvaluateOn(StackAboveCanary const& stack) {
    ScriptedAgent const agent(WholeEvaluation({OneRowResponse()}));
    OtherProcess host([&] {
        Codes codes;
        stack.Run(Evaluate, &codes);
        EXPECT_EQ(0, codes.open);
        EXPECT_EQ(1, codes.progress);
        EXPECT_EQ(0, codes.close);
    });
    ExitStatus const end = host.Wait();
    EXPECT_FALSE(agent.Requests().empty());
    return end;
}

class HardenedBuildTest : public testing::Test {
protected:
    void SetUp() override {
#ifndef CC_HARDENED
        GTEST_SKIP() << "this build is not hardened: its functions do not probe their stack frames";
#endif
    }
};

class SmallStackTest : public HardenedBuildTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(SmallStackTest, SucceedsOrTerminatesAtTheGuardPage) {
    Sandbox::RunWithDirectories([] {
        StackAboveCanary const stack(GetParam() * KiB);
        ExitStatus const end = EvaluateOn(stack);
        EXPECT_TRUE(end == ExitStatus::Exited(0) || end == ExitStatus::Killed(SIGSEGV)) << end;
        EXPECT_EQ(0u, stack.ChangedBytesOfCanary());
    });
}

INSTANTIATE_TEST_SUITE_P(KiB, SmallStackTest, testing::Range<std::size_t>(32, 96 + 1, 8),
                         testing::PrintToStringParamName());

TEST_F(HardenedBuildTest, SucceedsOnTheDocumentedStackSize) {
    Sandbox::RunWithDirectories([] {
        StackAboveCanary const stack(documentedStackSize);
        EXPECT_EQ(ExitStatus::Exited(0), EvaluateOn(stack));
        EXPECT_EQ(0u, stack.ChangedBytesOfCanary());
    });
}

} // namespace
