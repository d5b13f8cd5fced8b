// Command lines for fuzz targets.
#pragma once

#include "fuzz/Fuzz.h"

namespace Fuzz {

// Reads up to `most` arguments: a byte for their number, then each as Input::Text, up to its first
// NUL.
inline std::vector<std::string> TakeArguments(Input& input, std::size_t most) {
    std::vector<std::string> arguments(input.Byte() % (most + 1));
    for (std::string& argument : arguments)
        argument = input.Text().c_str();
    return arguments;
}

// The parameters of main: a count, and an array of pointers with a terminating null. The arguments
// must outlive the object.
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
