#include "companions/Progress.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include <unistd.h>

#include "companions/Output.h"

namespace {

constexpr int cells = 30;
// Carriage return, then erase to the end of the line (ECMA-48).
constexpr std::string_view clearLine = "\r\x1b[K";

// Returns text that clears the line without escape sequences. It is longer than the bar with its
// text, and shorter than 80 columns.
std::string const& BlankLine() {
    static std::string const line = '\r' + std::string(79, ' ') + '\r';
    return line;
}

bool IsDumbTerminal() {
    char const* const type = std::getenv("TERM");
    return type == nullptr || std::string_view(type).empty() || std::string_view(type) == "dumb";
}

std::string_view ClearLine() { return IsDumbTerminal() ? BlankLine() : clearLine; }

ProgressStyle Resolve(ProgressStyle style) {
    if (style != ProgressStyle::automatic)
        return style;
    return isatty(STDERR_FILENO) ? ProgressStyle::bar : ProgressStyle::none;
}

void WriteToTerminal(std::string_view text) {
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

void Progress::Opening() { Show(0, "asking the agent"); }

void Progress::Percent(int percent) { Show(percent, std::to_string(percent) + "% completed"); }

void Progress::Closing() { Show(100, "closing the evaluation"); }

void Progress::Clear() {
    if (drawn)
        WriteToTerminal(ClearLine());
    drawn = false;
}

void Progress::Show(int barPercent, std::string_view text) {
    if (style == ProgressStyle::lines)
        WriteMessage("compliance-query", text);
    if (style != ProgressStyle::bar)
        return;
    WriteToTerminal(std::string(ClearLine()) + DrawBar(barPercent) + ' ' + std::string(text));
    drawn = true;
}
