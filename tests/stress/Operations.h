// Operations of the product, each tried with every one of its allocations failing.
#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/FailingAllocation.h"

namespace Stress {

// What a header states of an object when memory was missing for an operation on it.
struct Stated {
    // The object is as it was, is as `shown` tells, or has any value, and the operation succeeds on
    // it then; or it is as it was or as `shown` tells, and is given a value before all else; or it
    // may be ended only.
    enum State { Unchanged, Shown, AnyValue, Lost, Abandoned };

    State state = Unchanged;
    std::string shown = {};
    // Beside std::bad_alloc, and what comes when nothing is missing: other exceptions (by the start
    // of their names), or "" for an ordinary return.
    std::vector<std::string> outcomes = {};
    // Whether std::bad_alloc may come out of it.
    bool tellsOfMemory = true;
};

// Lets the first, the second ... allocation fail, once and from then on, until `fail` requests
// fewer. `fail` returns whether one has failed; it must leave no block and no descriptor behind.
// Returns how many failed.
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

// The texts of the items, each with a "|" after it.
template <class Items, class Text>
std::string JoinTexts(Items const& items, Text const& text) {
    std::string all;
    for (auto const& item : items)
        all += text(item) + '|';
    return all;
}

// An operation under its name, on an object that is made anew for each trial.
class Operation {
public:
    // `act(object)` is what is tried; `view(object)` shows all that can be seen of the object.
    template <class Make, class Act, class View>
    Operation(std::string itsName, Make make, Act act, View view, Stated whatIsStated = {})
        : name(std::move(itsName)), stated(std::move(whatIsStated)) {
        Bind<decltype(make())>(make, act, view);
    }

    // One that returns a value, which `show` makes a text of.
    template <class Evaluate, class Show = AsText>
    static Operation Giving(std::string name, Evaluate evaluate, Show show = {},
                            Stated stated = {}) {
        return GivingOf<decltype(evaluate())>(std::move(name), evaluate, show, std::move(stated));
    }

    // The same, and the constructor, as functions of a name and what is tried.
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

    // One that returns nothing and changes nothing.
    static Operation Doing(std::string name, std::function<void()> const& act, Stated stated = {}) {
        return Operation(
            std::move(name), [] { return 0; }, [act](int) { act(); }, [](int) { return ""; },
            std::move(stated));
    }

    // Lets each allocation fail, once and from then on. Returns how many of them failed.
    std::size_t FailEach() const;

private:
    // Instantiated once for each type of object. There are hundreds of operations, and each has
    // functions of its own, which would be instantiated with all of this.
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
        // What was thrown, with its words; empty for nothing.
        std::string thrown;
    };

    Outcome Run(void* object, std::size_t n, FailingAllocation::Extent extent) const;
    bool Fail(std::size_t n, FailingAllocation::Extent extent) const;
    void CheckThrown(std::string const& thrown) const;
    void CheckView(std::string const& before, std::string const& thrown,
                   std::string const& view) const;
    void CheckSecondTry(void* object) const;
    void RunUndisturbed() const;

    std::string name;
    Stated stated;
    std::function<std::shared_ptr<void>()> makeObject;
    std::function<void(void*)> actOn;
    std::function<std::string(void*)> viewOf;
    // What an undisturbed run gives.
    mutable std::string calmThrown;
    mutable std::string calmView;
};

using Operations = std::vector<Operation>;

Operations Join(std::vector<Operations> const& parts);

// Lets each allocation of each operation fail. Prints and returns how many failed.
std::size_t FailEachOf(std::string const& folder, Operations const& operations);
// Runs a body that returns how many allocations failed, in a sandbox with the agent's directories
// and an empty "/tmp".
void TestOnEmptyMachine(std::function<std::size_t()> const& body);

} // namespace Stress
