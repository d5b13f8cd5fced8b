// The arguments of the tool, and the usage text that explains them.
#pragma once

// What the arguments ask for. The texts are those of the arguments.
struct CommandLine {
    char const* url = nullptr; // null, as is `doc`, for a request without them
    char const* doc = nullptr;
    unsigned int flags = 0; // 0 to 15
};

// Reads the arguments of main, the name of the program first. False if they are not understood, or
// not all of them.
//
// A number for the flags that is negative or too large is refused, but text that is no
// number counts as 0, and text after a number is ignored.
bool ReadCommandLine(int count, char const* const* arguments, CommandLine& commandLine);

// Prints the usage text on standard output. The program's name in it is fixed, whatever it was
// started as.
void PrintUsageMessage();
