// The response documents that all XML readers are measured with.
#pragma once

#include <cstddef>
#include <string>

#include "bench/Inputs.h"

// Calls `add` with the name of an operation and a function that returns its document: for 1, 1,000
// and 100,000 rows, and for 1,000 rows with escapes.
template <class Add>
void ForEachResponseDocument(Add add) {
    for (std::size_t rows : {1, 1000, 100000}) {
        add(
            "rows-" + std::to_string(rows), [rows]() -> auto& {
                return Inputs::ResponseDocument(rows);
            });
    }
    add(
        "escapes", []() -> auto& { return Inputs::ResponseDocument(1000, Inputs::Escapes::Many); });
}
