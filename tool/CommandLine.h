// The arguments of the tool.
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
// Deliberate: a number for the flags that is negative or too large is refused, but text that is no
// number counts as 0, and text after a number is ignored.
bool ReadCommandLine(int count, char const* const* arguments, CommandLine& commandLine);
