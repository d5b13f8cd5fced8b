// The one way in which a command line is refused.
#pragma once

#include <stdexcept>

// What it says is one line, without the program's name: the argument, and what would be accepted.
// It may hold bytes of the command line, so it is shown as visible text (VisibleText.h).
class CommandLineError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
