// Runs operations of the product with each of their allocations failing.
#pragma once

#include <exception>
#include <optional>

#include <gtest/gtest.h>

#include "tests/support/FailingAllocation.h"

namespace Stress {

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

// Fails the first, the second ... allocation, once and together with all later ones, until `fail`
// makes fewer. `fail` returns whether an allocation failed. It must not leak a block or a file
// descriptor. Returns the number of failed allocations.
std::size_t
FailEachAllocation(std::string const& name,
                   std::function<bool(std::size_t, FailingAllocation::Extent)> const& fail);

// An expression or, for an object `it`, a statement: its text as a name, and a function.
#define CC_TRY(...)         \
    (#__VA_ARGS__), [] {    \
        return __VA_ARGS__; \
    }
#define CC_TRY_ON(...)             \
    (#__VA_ARGS__), [](auto& it) { \
        __VA_ARGS__;               \
    }

struct AsText {
    std::string operator()(std::string const& text) const { return text; }
    std::string operator()(std::size_t number) const { return std::to_string(number); }
    std::string operator()(std::exception const& error) const { return error.what(); }
};

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
    std::size_t FailEach() const;

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

    Outcome Run(void* object, std::size_t n, FailingAllocation::Extent extent) const;
    bool Fail(std::size_t n, FailingAllocation::Extent extent) const;
    void CheckThrown(std::string const& thrown) const;
    void CheckView(std::string const& before, std::string const& thrown,
                   std::string const& view) const;
    void CheckSecondTry(void* object) const;
    void RunWithoutFaults() const;

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

Operations Join(std::vector<Operations> const& parts);

// Fails each allocation of each operation. Prints and returns the number of failures.
std::size_t FailEachOf(std::string const& folder, Operations const& operations);
// Runs a body that returns the number of failed allocations, in a sandbox with the agent's
// directories and an empty "/tmp".
void TestInSandbox(std::function<std::size_t()> const& body);

} // namespace Stress
