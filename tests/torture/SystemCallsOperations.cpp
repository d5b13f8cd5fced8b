#include "tests/torture/SystemCallsOperations.h"

#include "tests/torture/SystemCallsSteps.h"

Outcome GoesOn() { return {}; }

Outcome Maps(Mapper mapper, std::string const& name) { return {Outcome::maps, mapper, {}, name}; }

Outcome Throws(std::string const& error, std::string const& name, int code) {
    return {Outcome::throws, {}, error, name, code};
}

Outcome ThrowsOutsideTheTree(std::string const& error) {
    return {Outcome::throws, {}, error, {}, -1};
}

Outcome Gives(std::string const& result) { return {Outcome::gives, {}, result}; }

std::vector<Operation> const& Operations() {
    using namespace SystemCallsSteps;
    static std::vector<Operation> const all = [] {
        std::vector<Operation> operations;
        for (auto const& some : {OpenFiles(), Streams(), Creations(), Deletions(), CopiesAndMoves(),
                                 Trees(), Items(), LockAndProbe()})
            operations.insert(operations.end(), some.begin(), some.end());
        return operations;
    }();
    return all;
}
