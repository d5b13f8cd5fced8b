// Bytes on their way to an open descriptor, in large pieces.
#pragma once

#include <string>
#include <string_view>

// Collects what is written and hands it on when enough has come together, and at Flush; what is
// large by itself is not copied. One thread.
//
// Error handling: the first failure is kept, and whatever is written afterwards is dropped. A
// signal is no failure, except for a stop that has been asked for (StopSignals.h) while the reader
// on the other side keeps us waiting.
class Output {
public:
    // The descriptor is not closed.
    explicit Output(int descriptor);
    Output(Output const&) = delete;
    Output& operator=(Output const&) = delete;

    void Write(std::string_view bytes);
    void Flush();
    // 0, or the number of the first error.
    int Error() const { return error; }
    // Whether somebody looks at the bytes as they come.
    bool IsTerminal() const { return terminal; }

private:
    void HandOn(std::string_view bytes);

    int const descriptor;
    bool const terminal;
    int error = 0;
    std::string waiting;
};

// One line without an end, to standard error at once: "PROGRAM: TEXT" and a line feed.
void WriteMessage(std::string_view program, std::string_view text);
