// The command-line arguments of the tool, and its usage text.
#pragma once

// The parsed arguments. The strings are not copied: they are those that main received.
struct CommandLine {
    char const* url = nullptr; // null, like `doc`, with the option -d
    char const* doc = nullptr;
    unsigned int flags = 0; // 0 to 15 if the arguments are valid
};

// Parses the arguments of main, including the program name. Returns false if they are invalid.
//
// Flags below 0 or above 15 are invalid. They are converted by atoi(3): text that is not a number
// counts as 0, and text after a number is ignored. The result for a number beyond the range of int
// is undefined.
bool ReadCommandLine(int count, char const* const* arguments, CommandLine& commandLine);

// Prints the usage text on standard output. The program name in it is fixed.
void PrintUsageMessage();
