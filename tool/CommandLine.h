// The command-line arguments of the tool, and its usage text.
#pragma once

// The parsed arguments. The strings are those of the arguments.
struct CommandLine {
    char const* url = nullptr; // null, like `doc`, with the option -d
    char const* doc = nullptr;
    unsigned int flags = 0; // 0 to 15
};

// Parses the arguments of main, including the program name. Returns false if they are invalid.
//
// Flags that are negative or too large are invalid. Text that is not a number counts as 0, and text
// after a number is ignored.
bool ReadCommandLine(int count, char const* const* arguments, CommandLine& commandLine);

// Prints the usage text on standard output. The program name in it is fixed.
void PrintUsageMessage();
