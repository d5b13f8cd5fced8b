// The operations that make system calls: what each of them does, call by call, and what comes of it
// when one of the calls fails. Data, written from the contracts, for SystemCallsTorture.cpp.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

// Who turns an error number into a class, each in its own way.
enum class Mapper { freeStanding, readingPath, writingPath, reader, writer, times };

// What an operation comes to.
struct Outcome {
    enum Kind { goesOn, maps, throws, gives };

    Kind kind = goesOn;
    Mapper mapper = Mapper::freeStanding;
    // The class that is thrown, whatever the number; or what is returned.
    std::string text = {};
    // What the error names: a path below the place of the test, one from the root, or nothing.
    std::string name = {};
    int code = 0;
};

// As without the fault.
Outcome GoesOn();
// A file error of the class that the mapper gives the number, with the number as its code.
Outcome Maps(Mapper mapper, std::string const& name);
// A file error of that class, or, without a code, an exception outside that tree.
Outcome Throws(std::string const& error, std::string const& name, int code);
Outcome ThrowsOutsideTheTree(std::string const& error);
// Returns normally, with another result than usual; in the words of Operation::result.
Outcome Gives(std::string const& result);

// One call of an operation.
struct Step {
    Step(std::string const& theCall, Outcome const& outcome) : call(theCall), once(outcome) {}

    // If it fails from then on. Without this it is the outcome of failing once; where that is to go
    // on, the outcome of the next call of the same name.
    Step& Lasting(Outcome const& outcome) {
        lasting.push_back(outcome);
        return *this;
    }
    // The same for one number.
    Step& For(int error, Outcome const& outcome) {
        onceFor[error] = outcome;
        return *this;
    }
    Step& LastingFor(int error, Outcome const& outcome) {
        lastingFor[error] = outcome;
        return *this;
    }

    std::string call;
    Outcome once;
    // None or one.
    std::vector<Outcome> lasting = {};
    std::map<int, Outcome> onceFor = {};
    std::map<int, Outcome> lastingFor = {};
};

using Steps = std::vector<Step>;

struct Operation {
    std::string name;
    // Makes what it needs in the place of the test, a new directory.
    std::function<void(std::string const& place)> prepare;
    // Yields what it returned, if anything.
    std::function<std::string(std::string const& place)> run;
    // What `run` yields without a fault, a semicolon, and all that is in the place then, sorted,
    // each with a blank in front.
    std::string result;
    Steps steps;
    // Refused throughout, and not to be tried: renames are, where the other place is on another
    // file system.
    int renameError = 0;
};

std::vector<Operation> const& Operations();
