// Buffered output to an open file descriptor.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "companions/VisibleText.h"

// Buffers what is written. Writes the buffer when it is full, and at Flush; a large text is not
// copied. Not thread-safe.
//
// Error handling: the first failure is kept, and whatever is written afterwards is dropped. A stop
// signal (StopSignals.h) ends the wait for a slow reader, with the failure EINTR, whether it comes
// before the write or during it. Bytes that need no wait are written after a stop signal too.
//
// The file status flags of the descriptor are never changed, since other processes may share them.
class Output {
public:
    // The descriptor is not closed.
    explicit Output(int descriptor);
    ~Output();
    Output(Output const&) = delete;
    Output& operator=(Output const&) = delete;

    void Write(std::string_view bytes);
    void Flush();
    // 0, or the number of the first error.
    int Error() const { return error; }
    bool IsTerminal() const { return terminal; }
    // Returns ascii for a terminal unless the environment names a locale with UTF-8 (LC_ALL,
    // LC_CTYPE, LANG), and unicode for everything else.
    CharacterSet Characters() const { return characters; }
    // Returns the number of columns: that of the environment variable COLUMNS, or of the terminal.
    // Without either there is no limit, and it returns the largest number.
    std::size_t Width() const;

private:
    void WriteAll(std::string_view bytes);
    ssize_t WriteSome(std::string_view bytes) const;
    void HandleError(int number);

    int const descriptor;
    bool const terminal;
    CharacterSet const characters;
    bool const mayBlock;
    // The descriptor itself, or the same file opened again without blocking.
    int const target;
    int error = 0;
    std::string waiting;
};

// Returns unicode if the environment names a locale with UTF-8 (LC_ALL, LC_CTYPE, LANG).
CharacterSet CharacterSetOfLocale();

// Writes "PROGRAM: TEXT" and a line feed to standard error at once, with TEXT as visible text
// (VisibleText.h).
void WriteMessage(std::string_view program, std::string_view text);
