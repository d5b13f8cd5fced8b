#include "companions/Progress.h"

#include <algorithm>
#include <string>

#include <unistd.h>

#include "companions/Output.h"

namespace {

constexpr int cells = 30;
// To the first column; from there to the end of the line nothing.
constexpr std::string_view clearLine = "\r\x1b[K";

ProgressStyle Resolve(ProgressStyle style) {
    if (style != ProgressStyle::automatic)
        return style;
    return isatty(STDERR_FILENO) ? ProgressStyle::bar : ProgressStyle::none;
}

void WriteToTerminal(std::string const& text) {
    Output output(STDERR_FILENO);
    output.Write(text);
    output.Flush();
}

std::string DrawBar(int percent) {
    auto const filled = static_cast<std::size_t>(std::clamp(percent, 0, 100) * cells / 100);
    std::string bar(cells + 2, '-');
    bar.replace(1, filled, filled, '#');
    bar.front() = '[';
    bar.back() = ']';
    return bar;
}

} // namespace

Progress::Progress(ProgressStyle theStyle) : style(Resolve(theStyle)) {}

Progress::~Progress() { Clear(); }

void Progress::Opening() { Tell(0, "asking the agent"); }

void Progress::Percent(int percent) { Tell(percent, std::to_string(percent) + "% completed"); }

void Progress::Closing() { Tell(100, "closing the evaluation"); }

void Progress::Clear() {
    if (drawn)
        WriteToTerminal(std::string(clearLine));
    drawn = false;
}

void Progress::Tell(int barPercent, std::string_view text) {
    if (style == ProgressStyle::lines)
        WriteMessage("compliance-query", text);
    if (style != ProgressStyle::bar)
        return;
    WriteToTerminal(std::string(clearLine) + DrawBar(barPercent) + ' ' + std::string(text));
    drawn = true;
}
