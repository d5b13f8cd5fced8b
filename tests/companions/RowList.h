// Rows that a test lists itself, and what a format makes of them.
#pragma once

#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

#include "companions/Output.h"
#include "companions/Rows.h"

using RowList = std::vector<Row>;

// REQUIRES: the list outlives the result.
inline Rows RowsOf(RowList const& list) {
    return {static_cast<unsigned int>(list.size()), [&list](unsigned int index) {
                return list[index];
            }};
}

// All that a body writes.
template <typename Body>
std::string OutputOf(Body const& body) {
    int const file = memfd_create("output", MFD_CLOEXEC);
    Output output(file);
    body(output);
    output.Flush();
    std::string text(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
    if (pread(file, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()))
        text = "the output can't be read back";
    close(file);
    return text;
}
