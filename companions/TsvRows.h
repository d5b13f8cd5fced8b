// Rows as tab-separated values, for line-by-line tools.
#pragma once

class Output;
struct Rows;

// A line of the names, then a line for each row, all of them ended by a line feed. In the texts a
// tab stands as "\t", a line feed as "\n", a carriage return as "\r" and a backslash as "\\"; all
// other bytes stand as they came. On a terminal the others are visible text (VisibleText.h). Each
// text can be restored either way.
void WriteTsv(Rows const& rows, Output& output);
