// How far an evaluation has come, told on standard error while it runs.
#pragma once

#include <string_view>

#include "companions/QueryCommandLine.h"

// A bar is one line of a terminal that is drawn again and again, and gone at the end. It uses no
// escape sequence if the environment variable TERM is "dumb", empty or absent. Lines are for logs:
// "compliance-query: TEXT". Failures to write are nobody's concern.
class Progress {
public:
    // automatic is a bar if standard error is a terminal, and otherwise none.
    explicit Progress(ProgressStyle style);
    // Takes the bar away.
    ~Progress();
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    void Opening();
    // The agent's number as it stands; the bar is never less than empty nor more than full.
    void Percent(int percent);
    void Closing();

    // Takes the bar away until it is drawn again; before anything else is written to the terminal.
    void Clear();

private:
    void Tell(int barPercent, std::string_view text);

    ProgressStyle const style;
    bool drawn = false;
};
