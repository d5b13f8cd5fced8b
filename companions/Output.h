// Buffered output to an open file descriptor.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "companions/VisibleText.h"

// A buffered writer. Writes to the file descriptor when the buffer is full, and in Flush. The
// destructor does not flush. Not thread-safe.
//
// Error handling: the first error is stored, and all later output is discarded. A write may
// have to wait for a slow reader. A stop signal (StopSignals.h) before or during the wait ends the
// write with the error EINTR. Output that need not wait is written even after a stop signal.
//
// Never changes the file status flags of the descriptor, because other processes may share them.
class Output {
public:
    // Does not take ownership of the descriptor, which must stay open while the object exists.
    explicit Output(int descriptor);
    ~Output();
    Output(Output const&) = delete;
    Output& operator=(Output const&) = delete;

    void Write(std::string_view bytes);
    void Flush();
    // Returns the error number of the first error, or 0.
    int Error() const { return error; }
    bool IsTerminal() const { return terminal; }
    // Returns CharacterSetOfLocale() for a terminal, and unicode for everything else.
    CharacterSet Characters() const { return characters; }
    // Returns the number of columns from the environment variable COLUMNS, or else that of the
    // terminal (TerminalWidth).
    std::size_t Width() const;
    // Returns the number of columns of the terminal, or the maximum of the type.
    std::size_t TerminalWidth() const;

private:
    void WriteAll(std::string_view bytes);
    ssize_t WriteSome(std::string_view bytes) const;
    void HandleError(int number);

    int const descriptor;
    bool const terminal;
    CharacterSet const characters;
    bool const mayBlock;
    // `descriptor`, or a non-blocking descriptor of the same file.
    int const target;
    int error = 0;
    std::string waiting;
};

// Returns unicode if the locale of the environment (LC_ALL, LC_CTYPE, LANG) uses UTF-8. Returns
// ascii otherwise, and if the locale is not installed.
CharacterSet CharacterSetOfLocale();

// Writes "PROGRAM: TEXT" and a line feed to standard error, unbuffered. Converts the text to
// visible text (VisibleText.h). Ignores errors.
void WriteMessage(std::string_view program, std::string_view text);
