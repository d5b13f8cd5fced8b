#include "companions/Diff.h"

#include <algorithm>
#include <map>
#include <string_view>

#include "companions/Timestamp.h"

namespace {

// The indices of the rows for each designator.
using RowIndex = std::map<std::string_view, std::vector<std::size_t>>;

RowIndex IndexRows(std::vector<StoredRow> const& rows) {
    RowIndex index;
    for (std::size_t row = 0; row < rows.size(); ++row)
        index[rows[row][designatorField]].push_back(row);
    return index;
}

bool IsChanged(StoredRow const& oldRow, StoredRow const& newRow) {
    return std::ranges::any_of(comparedFields,
                               [&](std::size_t field) { return oldRow[field] != newRow[field]; });
}

// Matches the rows with one designator.
void Match(std::vector<std::size_t> const& oldOnes, std::vector<std::size_t> const& newOnes,
           std::vector<StoredRow> const& oldRows, std::vector<StoredRow> const& newRows,
           Difference& difference) {
    std::size_t const both = std::min(oldOnes.size(), newOnes.size());
    for (std::size_t index = 0; index < both; ++index) {
        if (IsChanged(oldRows[oldOnes[index]], newRows[newOnes[index]]))
            difference.changed.emplace_back(oldOnes[index], newOnes[index]);
    }
    for (std::size_t index = both; index < oldOnes.size(); ++index)
        difference.removed.push_back(oldOnes[index]);
    for (std::size_t index = both; index < newOnes.size(); ++index)
        difference.added.push_back(newOnes[index]);
    if (std::max(oldOnes.size(), newOnes.size()) > 1) {
        std::string const& designator = oldOnes.empty() ? newRows[newOnes[0]][designatorField]
                                                        : oldRows[oldOnes[0]][designatorField];
        difference.equalDesignators.push_back({designator, oldOnes.size(), newOnes.size()});
    }
}

bool IsGood(StoredRow const& row, std::vector<std::string> const& goodResults) {
    return std::ranges::find(goodResults, row[resultField]) != goodResults.end();
}

std::string TextOr(std::optional<std::string> const& text, char const* other) {
    return text.value_or(other);
}

void NoteOther(std::string const& what, std::string const& oldText, std::string const& newText,
               std::vector<std::string>& notes) {
    if (oldText != newText)
        notes.push_back("the results are of different " + what + ": '" + oldText + "' and '" +
                        newText + "'");
}

void NoteProvenance(DiffSide const& oldSide, DiffSide const& newSide,
                    std::vector<std::string>& notes) {
    for (DiffSide const* const side : {&oldSide, &newSide})
        if (!side->result.provenance)
            notes.push_back(side->file +
                            " has no provenance: its host, document and time are unknown");
    if (!oldSide.result.provenance || !newSide.result.provenance)
        return;
    StoredProvenance const& before = *oldSide.result.provenance;
    StoredProvenance const& after = *newSide.result.provenance;
    if (FoldHostName(before.host) != FoldHostName(after.host))
        NoteOther("hosts", before.host, after.host, notes);
    NoteOther("documents", TextOr(before.document, "(the default)"),
              TextOr(after.document, "(the default)"), notes);
    NoteOther("sites", TextOr(before.url, "(the default)"), TextOr(after.url, "(the default)"),
              notes);
    if (IsBefore(after.start.time, before.start.time))
        notes.push_back(newSide.file + " is older than " + oldSide.file);
    for (DiffSide const* const side : {&oldSide, &newSide})
        if (side->result.provenance->stale)
            notes.push_back(side->file + " has a stale response: it existed before its request, or "
                                         "it is unknown whether it did");
}

} // namespace

DiffSide ReadDiffSide(std::string const& file) {
    DiffSide side{file};
    side.result = ReadStoredResult(
        file, StoredKind::any, [&side](StoredRow&& row) { side.rows.push_back(std::move(row)); });
    if (!side.result.finished)
        throw StoredResultError(file +
                                ": expected the result of a finished evaluation; this one failed"
                                " with exit status " +
                                std::to_string(side.result.exitStatus) + ": " +
                                side.result.message);
    return side;
}

Difference CompareRows(std::vector<StoredRow> const& oldRows,
                       std::vector<StoredRow> const& newRows) {
    Difference difference;
    RowIndex oldIndex = IndexRows(oldRows);
    RowIndex newIndex = IndexRows(newRows);
    for (auto const& [designator, rows] : newIndex)
        oldIndex[designator];
    for (auto const& [designator, rows] : oldIndex)
        Match(rows, newIndex[designator], oldRows, newRows, difference);
    std::ranges::sort(difference.removed);
    std::ranges::sort(difference.added);
    std::ranges::sort(difference.changed, {}, &std::pair<std::size_t, std::size_t>::second);
    return difference;
}

void KeepRegressions(Difference& difference, DiffSide const& oldSide, DiffSide const& newSide,
                     std::vector<std::string> const& goodResults) {
    difference.missing =
        static_cast<std::size_t>(std::ranges::count_if(difference.removed, [&](std::size_t row) {
            return IsGood(oldSide.rows[row], goodResults);
        }));
    difference.removed.clear();
    difference.added.clear();
    std::erase_if(difference.changed, [&](auto const& rows) {
        return !IsGood(oldSide.rows[rows.first], goodResults) ||
               IsGood(newSide.rows[rows.second], goodResults);
    });
}

std::vector<std::string> DescribeSides(Difference const& difference, DiffSide const& oldSide,
                                       DiffSide const& newSide) {
    std::vector<std::string> notes;
    NoteProvenance(oldSide, newSide, notes);
    for (EqualDesignators const& equal : difference.equalDesignators)
        notes.push_back(
            "designator '" + equal.designator + "': " + FormatRowCount(equal.oldCount) +
            " in OLD and " + FormatRowCount(equal.newCount) + " in NEW" +
            (equal.oldCount > 0 && equal.newCount > 0 ? ", which match in their order" : ""));
    if (difference.missing > 0)
        notes.push_back("rows of OLD with a result of --regressions that are missing in NEW: " +
                        std::to_string(difference.missing));
    return notes;
}
