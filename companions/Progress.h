// Shows the progress of an evaluation on standard error.
#pragma once

#include <string_view>

#include "companions/QueryCommandLine.h"

// Shows progress as a bar or as lines, and ignores write errors. A bar is one line of a terminal,
// redrawn at each step and removed at the end. A narrow terminal shows only its beginning. It uses
// no escape sequences if the environment variable TERM is "dumb", empty or not set. Lines are for
// logs: "compliance-query: TEXT".
class Progress {
public:
    // ProgressStyle::automatic selects a bar if standard error is a terminal, otherwise none.
    explicit Progress(ProgressStyle style);
    // Removes the bar.
    ~Progress();
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    void Opening();
    // Shows the number unchanged. The bar shows the nearest number from 0 to 100.
    void Percent(int percent);
    void Closing();

    // Removes the bar. Call it before other output to the terminal. The next step redraws the bar.
    void Clear();

private:
    void Show(int barPercent, std::string_view text);

    ProgressStyle const style;
    bool drawn = false;
};
