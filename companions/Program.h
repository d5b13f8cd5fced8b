// Shared parts of the companions' main functions.
#pragma once

#include <functional>
#include <string>
#include <string_view>

class Output;

struct Program {
    // REQUIRES: the characters have static storage duration.
    std::string_view name;
    // The exit statuses for CommandLineError and for any other std::exception.
    int usageStatus;
    int failureStatus;
};

// Calls `run` and returns its result, the exit status. First opens the standard descriptors that
// are closed (StandardDescriptors.h), and ignores SIGXFSZ, so writes fail with EFBIG instead.
//
// If `run` throws a std::exception, writes a message and returns the exit status for it. Reporting
// std::bad_alloc allocates no memory.
//
// Installs a terminate handler: a std::bad_alloc that leaves a destructor or another noexcept
// function ends the process with a message and `failureStatus`. The handler stays installed after
// the return.
int RunMain(Program const& program, std::function<int()> const& run);

// Flushes the output. If a write has failed, writes a message that names `content`, and returns
// false.
bool FinishOutput(std::string_view program, Output& output, std::string const& content);

// Writes the text to standard output and returns 0. If the text cannot be written, writes a message
// and returns `failureStatus`.
int ShowText(std::string_view program, std::string_view text, int failureStatus);
