#include "tests/stress/Operations.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include <cxxabi.h>

#include "tests/stress/TestCases.h"
#include "tests/support/Sandbox.h"

namespace {

// More than any operation here needs. Detects an operation that does not terminate.
constexpr std::size_t maxAllocations = 20'000;
constexpr std::size_t none = ~std::size_t{0};

constexpr char const* badAlloc = "std::bad_alloc: std::bad_alloc";

std::string NameOfPresentException() {
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> const name(
        abi::__cxa_demangle(abi::__cxa_current_exception_type()->name(), nullptr, nullptr, &status),
        &std::free);
    return name.get();
}

std::string Describe(std::exception_ptr const& thrown) {
    if (thrown == nullptr)
        return "";
    try {
        std::rethrow_exception(thrown);
    } catch (std::exception const& error) {
        char const* const words = error.what();
        return NameOfPresentException() + ": " + (words == nullptr ? "null" : words);
    } catch (...) {
        return NameOfPresentException();
    }
}

// The number that the next file descriptor would get.
int NextDescriptor() {
    int const next = dup(STDERR_FILENO);
    close(next);
    return next;
}

} // namespace

namespace Stress {

Operation::Outcome Operation::Run(void* object, std::size_t n,
                                  FailingAllocation::Extent extent) const {
    Outcome outcome;
    std::exception_ptr thrown;
    {
        FailingAllocation const failing(n, extent);
        try {
            actOn(object);
        } catch (...) {
            thrown = std::current_exception();
        }
        outcome.failed = failing.HasFailed();
    }
    outcome.thrown = Describe(thrown);
    return outcome;
}

void Operation::RunWithoutFaults() const {
    std::shared_ptr<void> const object = makeObject();
    usualThrown = Run(object.get(), none, FailingAllocation::Once).thrown;
    usualView = viewOf(object.get());
}

void Operation::CheckSecondTry(void* object) const {
    EXPECT_EQ(usualThrown, Run(object, none, FailingAllocation::Once).thrown);
    EXPECT_EQ(usualView, viewOf(object));
}

void Operation::CheckThrown(std::string const& thrown) const {
    bool const isStated =
        (thrown == badAlloc && stated.throwsBadAlloc) || thrown == usualThrown ||
        std::any_of(stated.outcomes.begin(), stated.outcomes.end(), [&](std::string const& other) {
            return other.empty() ? thrown.empty() : thrown.starts_with(other);
        });
    EXPECT_TRUE(isStated) << "threw " << (thrown.empty() ? "nothing" : thrown);
}

// If the result is the expected one, the state must be the expected one too, unless the operation
// may also return without an effect.
void Operation::CheckView(std::string const& before, std::string const& thrown,
                          std::string const& view) const {
    bool const mayDoNothing =
        std::find(stated.outcomes.begin(), stated.outcomes.end(), "") != stated.outcomes.end();
    if (thrown == usualThrown && !mayDoNothing) {
        EXPECT_EQ(usualView, view);
    } else if (stated.state == Stated::Unchanged) {
        EXPECT_TRUE(view == before || view == usualView) << "was " << before << "\nand is " << view;
    } else if (stated.state == Stated::Shown) {
        EXPECT_EQ(stated.shown, view);
    } else if (stated.state == Stated::Lost) {
        EXPECT_TRUE(view == before || view == stated.shown) << view;
    }
}

bool Operation::Fail(std::size_t n, FailingAllocation::Extent extent) const {
    std::shared_ptr<void> object = makeObject();
    std::string const before = viewOf(object.get());
    Outcome const outcome = Run(object.get(), n, extent);
    if (!outcome.failed) {
        EXPECT_EQ(usualThrown, outcome.thrown);
        EXPECT_EQ(usualView, viewOf(object.get()));
        return false;
    }
    CheckThrown(outcome.thrown);
    if (stated.state != Stated::Abandoned)
        CheckView(before, outcome.thrown, viewOf(object.get()));
    if (stated.state == Stated::Abandoned || stated.state == Stated::Lost) {
        object = nullptr;
        object = makeObject();
    }
    CheckSecondTry(object.get());
    return true;
}

std::size_t
FailEachAllocation(std::string const& name,
                   std::function<bool(std::size_t, FailingAllocation::Extent)> const& fail) {
    std::size_t failures = 0;
    for (auto const extent : {FailingAllocation::Once, FailingAllocation::FromThenOn}) {
        std::size_t n = 1;
        for (bool failed = true; failed && !testing::Test::HasFailure(); n += failed) {
            SCOPED_TRACE(
                name + ", allocation " + std::to_string(n) +
                (extent == FailingAllocation::Once ? " fails" : " and all later ones fail"));
            int const descriptor = NextDescriptor();
            AllocationCounter const counter;
            failed = fail(n, extent);
            EXPECT_EQ(0, counter.Held()) << "blocks leaked, or were released twice";
            EXPECT_EQ(descriptor, NextDescriptor()) << "a file descriptor leaked";
            EXPECT_LT(n, maxAllocations) << "does not end";
        }
        failures += n - 1;
    }
    EXPECT_LT(0u, failures) << name << " requests no memory";
    return failures;
}

std::size_t Operation::FailEach() const {
    RunWithoutFaults();
    return FailEachAllocation(name, [this](auto n, auto extent) { return Fail(n, extent); });
}

Operations Join(std::vector<Operations> const& parts) {
    Operations all;
    for (Operations const& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

std::size_t FailEachOf(std::string const& folder, Operations const& operations) {
    std::size_t failures = 0;
    for (Operation const& operation : operations)
        if (!testing::Test::HasFailure())
            failures += operation.FailEach();
    std::cout << folder << ": " << operations.size() << " operations, " << failures
              << " allocations failed\n";
    return failures;
}

void TestInSandbox(std::function<std::size_t()> const& body) {
    CountTestCasesInSandbox({.emptyPlaces = {"/tmp"}}, body);
}

} // namespace Stress
