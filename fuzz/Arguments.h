// Command lines for targets that read one.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "fuzz/Fuzz.h"

namespace Fuzz {

// At most so many texts as the first byte says, each with its length in front.
inline std::vector<std::string> TakeArguments(Input& input, std::size_t most) {
    std::vector<std::string> arguments(input.Byte() % (most + 1));
    for (std::string& argument : arguments)
        argument = input.Text().c_str();
    return arguments;
}

// What main gets: pointers to texts, and a null behind them.
class ArgumentVector {
public:
    explicit ArgumentVector(std::vector<std::string> const& arguments) {
        for (std::string const& argument : arguments)
            pointers.push_back(argument.c_str());
        pointers.push_back(nullptr);
    }

    int Count() const { return static_cast<int>(pointers.size() - 1); }
    char const* const* Arguments() const { return pointers.data(); }

private:
    std::vector<char const*> pointers;
};

} // namespace Fuzz
