// Runs operations of the product with each of their allocations failing.
#pragma once

#include <iostream>

#include "tests/files/Thrown.h"
#include "tests/stress/TestCases.h"
#include "tests/support/FailingAllocation.h"

// The documented state of an object after an operation on it failed for lack of memory.
struct Stated {
    // Unchanged: as before. Shown: `shown`. AnyValue: unspecified, but the operation can be
    // repeated. Lost: as before or `shown`; it must be assigned before it is used. Abandoned: it
    // can only be destroyed.
    enum State { Unchanged, Shown, AnyValue, Lost, Abandoned };

    State state = Unchanged;
    std::string shown = {};
    // Outcomes other than std::bad_alloc and the expected one: exceptions, by the start of their
    // names, or "" for a normal return.
    std::vector<std::string> outcomes = {};
    // Whether it may throw std::bad_alloc.
    bool throwsBadAlloc = true;
};

// More than any operation here needs. Detects an operation that does not terminate.
constexpr std::size_t maxAllocations = 20'000;
constexpr std::size_t none = ~std::size_t{0};

struct AsText {
    std::string operator()(std::string const& text) const { return text; }
    std::string operator()(std::size_t number) const { return std::to_string(number); }
    std::string operator()(std::exception const& error) const {
        return error.what() == nullptr ? "null" : error.what();
    }
};

inline std::string Describe(std::exception_ptr const& thrown) {
    if (thrown == nullptr)
        return "";
    try {
        std::rethrow_exception(thrown);
    } catch (std::exception const& error) {
        return NameOfClass(typeid(error)) + ": " + AsText()(error);
    } catch (...) {
        return NameOfClass(*abi::__cxa_current_exception_type());
    }
}

// The number that the next file descriptor would get.
inline int NextDescriptor() {
    int const next = dup(STDERR_FILENO);
    close(next);
    return next;
}

// Fails the first, the second ... allocation, once and together with all later ones, until `fail`
// makes fewer allocations. `fail` returns whether an allocation failed, and must not leak a block
// or a file descriptor. Returns the number of failed allocations.
inline std::size_t
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

// An expression or, for an object `it`, a statement: its text as a name, and a function.
#define CC_TRY(...)         \
    (#__VA_ARGS__), [] {    \
        return __VA_ARGS__; \
    }
#define CC_TRY_ON(...)             \
    (#__VA_ARGS__), [](auto& it) { \
        __VA_ARGS__;               \
    }

// Returns the texts of the items, each followed by "|".
template <class Items, class Text>
std::string JoinTexts(Items const& items, Text const& text) {
    std::string all;
    for (auto const& item : items)
        all += text(item) + '|';
    return all;
}

// A named operation on an object that is constructed for each run.
class Operation {
public:
    // `act(object)` is the tested operation; `view(object)` returns the visible state as text.
    template <class Make, class Act, class View>
    Operation(std::string itsName, Make make, Act act, View view, Stated whatIsStated = {})
        : name(std::move(itsName)), stated(std::move(whatIsStated)) {
        Bind<decltype(make())>(make, act, view);
    }

    // For an operation that returns a value, which `show` converts to text.
    template <class Evaluate, class Show = AsText>
    static Operation Giving(std::string name, Evaluate evaluate, Show show = {},
                            Stated stated = {}) {
        return GivingOf<decltype(evaluate())>(std::move(name), evaluate, show, std::move(stated));
    }

    // Return factories of operations that share the other arguments.
    template <class Show>
    static auto Giver(Show show, Stated whatIsStated = {}) {
        return [show, whatIsStated](std::string const& itsName, auto evaluate) {
            return Giving(itsName, evaluate, show, whatIsStated);
        };
    }
    template <class Make, class View>
    static auto Changer(Make make, View view) {
        return [=](std::string const& itsName, auto act, Stated whatIsStated = {}) {
            return Operation(itsName, make, act, view, whatIsStated);
        };
    }

    // For an operation that returns nothing and changes nothing.
    static Operation Doing(std::string name, std::function<void()> const& act, Stated stated = {}) {
        return Operation(
            std::move(name), [] { return 0; }, [act](int) { act(); }, [](int) { return ""; },
            std::move(stated));
    }

    // Fails each allocation, once and together with all later ones. Returns the number of failures.
    std::size_t FailEach() const {
        RunWithoutFaults();
        return FailEachAllocation(name, [this](auto n, auto extent) { return Fail(n, extent); });
    }

private:
    // Instantiated once for each type of object. Hundreds of operations have their own functions,
    // which would otherwise instantiate all of this.
    template <class Object>
    void Bind(std::function<Object()> make, std::function<void(Object&)> act,
              std::function<std::string(Object&)> view) {
        makeObject = [make = std::move(make)] {
            return std::shared_ptr<void>(new Object(make()));
        };
        actOn = [act = std::move(act)](void* object) {
            act(*static_cast<Object*>(object));
        };
        viewOf = [view = std::move(view)](void* object) {
            return view(*static_cast<Object*>(object));
        };
    }

    template <class Result>
    static Operation GivingOf(std::string name, std::function<Result()> evaluate,
                              std::function<std::string(Result const&)> show, Stated stated) {
        using Made = std::optional<Result>;
        return Operation(
            std::move(name), [] { return Made(); },
            [evaluate = std::move(evaluate)](Made& made) { made.emplace(evaluate()); },
            [show = std::move(show)](Made const& made) {
                return made.has_value() ? show(*made) : "nothing";
            },
            std::move(stated));
    }

    struct Outcome {
        bool failed = false;
        // The exception of the last run with its message; empty if there was none.
        std::string thrown;
    };

    Outcome Run(void* object, std::size_t n, FailingAllocation::Extent extent) const {
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

    bool Fail(std::size_t n, FailingAllocation::Extent extent) const {
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
        EXPECT_EQ(usualThrown, Run(object.get(), none, FailingAllocation::Once).thrown);
        EXPECT_EQ(usualView, viewOf(object.get()));
        return true;
    }

    void CheckThrown(std::string const& thrown) const {
        bool const isStated =
            (thrown == "std::bad_alloc: std::bad_alloc" && stated.throwsBadAlloc) ||
            thrown == usualThrown ||
            std::any_of(stated.outcomes.begin(), stated.outcomes.end(),
                        [&](std::string const& other) {
                            return other.empty() ? thrown.empty() : thrown.starts_with(other);
                        });
        EXPECT_TRUE(isStated) << "threw " << (thrown.empty() ? "nothing" : thrown);
    }

    // If the result is the expected one, the state must be the expected one too, unless the
    // operation may also return without an effect.
    void CheckView(std::string const& before, std::string const& thrown,
                   std::string const& view) const {
        bool const mayDoNothing =
            std::find(stated.outcomes.begin(), stated.outcomes.end(), "") != stated.outcomes.end();
        if (thrown == usualThrown && !mayDoNothing) {
            EXPECT_EQ(usualView, view);
        } else if (stated.state == Stated::Unchanged) {
            EXPECT_TRUE(view == before || view == usualView)
                << "was " << before << "\nand is " << view;
        } else if (stated.state == Stated::Shown) {
            EXPECT_EQ(stated.shown, view);
        } else if (stated.state == Stated::Lost) {
            EXPECT_TRUE(view == before || view == stated.shown) << view;
        }
    }

    void RunWithoutFaults() const {
        std::shared_ptr<void> const object = makeObject();
        usualThrown = Run(object.get(), none, FailingAllocation::Once).thrown;
        usualView = viewOf(object.get());
    }

    std::string name;
    Stated stated;
    std::function<std::shared_ptr<void>()> makeObject;
    std::function<void(void*)> actOn;
    std::function<std::string(void*)> viewOf;
    // The result of a run without failures.
    mutable std::string usualThrown;
    mutable std::string usualView;
};

using Operations = std::vector<Operation>;

inline Operations Join(std::vector<Operations> const& parts) {
    Operations all;
    for (Operations const& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

// Fails each allocation of each operation. Prints and returns the number of failures.
inline std::size_t FailEachOf(std::string const& folder, Operations const& operations) {
    std::size_t failures = 0;
    for (Operation const& operation : operations)
        if (!testing::Test::HasFailure())
            failures += operation.FailEach();
    std::cout << folder << ": " << operations.size() << " operations, " << failures
              << " allocations failed\n";
    return failures;
}

// Runs a body that returns the number of failed allocations, in a sandbox with the agent's
// directories and an empty "/tmp".
inline void TestInSandbox(std::function<std::size_t()> const& body) {
    CountTestCasesInSandbox({.emptyPlaces = {"/tmp"}}, body);
}
