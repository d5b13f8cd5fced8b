#include "companions/Rows.h"

#include <algorithm>

unsigned int CountOtherResults(Rows const& rows, std::vector<std::string> const& accepted) {
    unsigned int others = 0;
    for (unsigned int index = 0; index < rows.count; ++index)
        if (std::ranges::find(accepted, rows.get(index)[resultField]) == accepted.end())
            ++others;
    return others;
}
