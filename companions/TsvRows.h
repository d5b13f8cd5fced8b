// Rows as tab-separated values, for line-by-line tools.
#pragma once

class Output;
struct Rows;

// A line of the names, then a line for each row, all of them ended by a line feed. In the texts a tab
// stands as "\t", a line feed as "\n", a carriage return as "\r" and a backslash as "\\"; all other
// bytes stand as they came, so each text can be restored.
void WriteTsv(Rows const& rows, Output& output);
