#include "companions/Color.h"

#include <cstdlib>

#include "companions/Output.h"

namespace {

// Returns the value of an environment variable, or an empty string if it is not set.
std::string_view ReadVariable(char const* name) {
    char const* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

} // namespace

bool UsesColor(ColorMode mode, Output const& output) {
    if (mode != ColorMode::automatic)
        return mode == ColorMode::always;
    std::string_view const terminal = ReadVariable("TERM");
    return output.IsTerminal() && ReadVariable("NO_COLOR").empty() && !terminal.empty() &&
           terminal != "dumb";
}
