// Rows for the tests of the output formats, and the output of a function.
#pragma once

#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

#include "companions/Output.h"
#include "companions/Rows.h"

using RowList = std::vector<Row>;

// Returns the rows of the list, which must outlive the result.
inline Rows RowsOf(RowList const& list) {
    return {static_cast<unsigned int>(list.size()), [&list](unsigned int index) {
                return list[index];
            }};
}

// Returns the output of the body, which takes an Output.
template <typename Body>
std::string OutputOf(Body const& body) {
    int const file = memfd_create("output", MFD_CLOEXEC);
    Output output(file);
    body(output);
    output.Flush();
    std::string text(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
    if (pread(file, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()))
        text = "cannot read the output";
    close(file);
    return text;
}
