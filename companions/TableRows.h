// Rows as a table, for eyes.
#pragma once

class Output;
struct Rows;

// A line of headings and a line for each row, in columns with two blanks between; the last one is
// not padded. Without any row a line says so. The texts are visible text (VisibleText.h). A column
// is as wide as its longest text, but a text that is longer than 40 pushes the rest of its own line
// only.
void WriteTable(Rows const& rows, Output& output);
