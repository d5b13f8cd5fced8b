#include "companions/Progress.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include <unistd.h>

#include "companions/Output.h"

namespace {

constexpr int cells = 30;
// Carriage return, then erase to the end of the line (ECMA-48).
constexpr char clearLine[] = "\r\x1b[K";

// Returns text that clears the first columns of the line without escape sequences. It clears at
// most 79 columns. The bar with its text is shorter.
std::string BlankLine(std::size_t columns) {
    return '\r' + std::string(std::min<std::size_t>(79, columns), ' ') + '\r';
}

bool IsDumbTerminal() {
    char const* const type = std::getenv("TERM");
    return type == nullptr || std::string_view(type).empty() || std::string_view(type) == "dumb";
}

ProgressStyle Resolve(ProgressStyle style) {
    if (style != ProgressStyle::automatic)
        return style;
    return isatty(STDERR_FILENO) ? ProgressStyle::bar : ProgressStyle::none;
}

// Replaces the line of the bar. Truncates the bar, because a longer line than that of the terminal
// would wrap, and only its last part could be cleared.
void Redraw(std::string_view bar) {
    Output output(STDERR_FILENO);
    // The last column remains empty, because some terminals wrap after it.
    std::size_t const columns = output.TerminalWidth() - 1;
    output.Write(IsDumbTerminal() ? BlankLine(columns) : clearLine);
    output.Write(bar.substr(0, columns));
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

void Progress::Opening() { Show(0, "asking the agent"); }

void Progress::Percent(int percent) { Show(percent, std::to_string(percent) + "% completed"); }

void Progress::Closing() { Show(100, "closing the evaluation"); }

void Progress::Clear() {
    if (drawn)
        Redraw("");
    drawn = false;
}

void Progress::Show(int barPercent, std::string_view text) {
    if (style == ProgressStyle::lines)
        WriteMessage("compliance-query", text);
    if (style != ProgressStyle::bar)
        return;
    Redraw(DrawBar(barPercent) + ' ' + std::string(text));
    drawn = true;
}
