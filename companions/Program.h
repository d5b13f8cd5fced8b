// The frame of a companion's main function.
#pragma once

#include <functional>
#include <string>
#include <string_view>

class Output;

struct Program {
    std::string_view name;
    // The exit statuses after CommandLineError and after any other std::exception.
    int usageStatus;
    int failureStatus;
};

// Opens the closed standard descriptors (StandardDescriptors.h) and returns the exit status that
// `run` returns. Writes a message for a std::exception that `run` throws; that for std::bad_alloc
// takes no memory.
int RunMain(Program const& program, std::function<int()> const& run);

// Flushes the output. Returns false, with a message that names the content, if not all of it could
// be written.
bool FinishOutput(std::string_view program, Output& output, std::string const& content);

// Writes the text to standard output. Returns 0, or `failureStatus` with a message if that fails.
int ShowText(std::string_view program, std::string_view text, int failureStatus);
