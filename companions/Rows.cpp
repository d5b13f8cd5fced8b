#include "companions/Rows.h"

#include <algorithm>

namespace {

constexpr std::size_t maxFirstOthers = 3;

} // namespace

ResultCheck CheckResults(Rows const& rows, std::vector<std::string> const& accepted) {
    ResultCheck result;
    std::vector<bool> used(accepted.size());
    for (unsigned int index = 0; index < rows.count; ++index) {
        Row const row = rows.get(index);
        auto const found = std::ranges::find(accepted, row[resultField]);
        if (found != accepted.end()) {
            used[static_cast<std::size_t>(found - accepted.begin())] = true;
        } else {
            ++result.others;
            if (result.firstOthers.size() < maxFirstOthers)
                result.firstOthers.emplace_back(row[designatorField], row[resultField]);
        }
    }
    for (std::size_t index = 0; index < accepted.size(); ++index)
        if (!used[index])
            result.unused.push_back(accepted[index]);
    return result;
}

ResultCounts CountResults(Rows const& rows) {
    ResultCounts counts;
    for (unsigned int index = 0; index < rows.count; ++index) {
        Row const row = rows.get(index);
        auto const found = counts.find(row[resultField]);
        if (found != counts.end())
            ++found->second;
        else
            counts.emplace(row[resultField], 1);
    }
    return counts;
}

std::size_t KeepMostFrequent(ResultCounts& results, std::size_t max) {
    std::vector<std::pair<std::string, unsigned int>> byCount(results.begin(), results.end());
    std::ranges::stable_sort(byCount, std::greater(), &decltype(byCount)::value_type::second);
    std::size_t removed = 0;
    for (std::size_t index = max; index < byCount.size(); ++index) {
        removed += byCount[index].second;
        results.erase(byCount[index].first);
    }
    return removed;
}

std::string FormatRowCount(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " row" : " rows");
}
