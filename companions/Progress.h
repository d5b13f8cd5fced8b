// Progress of an evaluation, shown on standard error while it runs.
#pragma once

#include <string_view>

#include "companions/QueryCommandLine.h"

// A bar is one line of a terminal, redrawn at each step and removed at the end. It uses no escape
// sequence if the environment variable TERM is "dumb", empty or absent. Lines are for logs:
// "compliance-query: TEXT". Failures to write are ignored.
class Progress {
public:
    // ProgressStyle::automatic selects a bar if standard error is a terminal, otherwise none.
    explicit Progress(ProgressStyle style);
    // Removes the bar.
    ~Progress();
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    void Opening();
    // Shows the agent's number unchanged; the bar is limited to 0 to 100.
    void Percent(int percent);
    void Closing();

    // Removes the bar until it is drawn again. Call it before other output to the terminal.
    void Clear();

private:
    void Show(int barPercent, std::string_view text);

    ProgressStyle const style;
    bool drawn = false;
};
