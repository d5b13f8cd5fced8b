// Compares two stored results row by row, and writes the difference as text or JSON.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "companions/StoredResult.h"

class Output;

// The version of schema/compliance-diff.schema.json. New members do not change it.
constexpr int diffSchemaVersion = 1;

// The indices of the compared fields: result, description and comment.
constexpr std::array<std::size_t, 3> comparedFields = {resultField, 4, 5};

// A result with its rows in memory.
struct DiffSide {
    std::string file = {};
    StoredResult result = {};
    std::vector<StoredRow> rows = {};
};

// Reads a result with all its rows into memory. Throws StoredResultError if the file cannot be read
// or is not a result, or if its evaluation failed.
DiffSide ReadDiffSide(std::string const& file);

// A designator that is not unique in at least one result, and its number of rows in each.
struct EqualDesignators {
    std::string designator;
    std::size_t oldCount;
    std::size_t newCount;
};

struct Difference {
    // Indices of the rows that only the old result has, and of those that only the new one has;
    // ascending.
    std::vector<std::size_t> removed = {};
    std::vector<std::size_t> added = {};
    // Pairs of an index in the old and an index in the new result, sorted by the latter.
    std::vector<std::pair<std::size_t, std::size_t>> changed = {};
    // Set by KeepRegressions: the number of removed rows whose old result was good. They are not
    // regressions, because they have no new result.
    std::size_t missing = 0;
    // Sorted by designator.
    std::vector<EqualDesignators> equalDesignators = {};

    bool IsEmpty() const { return removed.empty() && added.empty() && changed.empty(); }
};

// Matches rows by designator. If several rows have the same designator, the n-th one matches the
// n-th one of the other result. A matched row is changed if a compared field differs.
Difference CompareRows(std::vector<StoredRow> const& oldRows,
                       std::vector<StoredRow> const& newRows);

// Removes all differences except changed rows whose old result is in `goodResults` and whose new
// result is not.
void KeepRegressions(Difference& difference, DiffSide const& oldSide, DiffSide const& newSide,
                     std::vector<std::string> const& goodResults);

// Returns a warning for each of these:
// - different hosts, documents or sites
// - a new result that is older than the old one
// - a stale response
// - missing provenance
// - a designator that is not unique
// - `Difference::missing`
//
// If a result has no provenance, only the last three are checked.
std::vector<std::string> DescribeSides(Difference const& difference, DiffSide const& oldSide,
                                       DiffSide const& newSide);

// Writes the difference for people; nothing if there is none. All texts are visible text
// (VisibleText.h).
void WriteDiffText(Difference const& difference, DiffSide const& oldSide, DiffSide const& newSide,
                   bool useColor, Output& output);

// Writes the difference as a JSON object. schema/compliance-diff.schema.json specifies it.
// `goodResults` is the list of --regressions, or empty without that option.
void WriteDiffJson(Difference const& difference, DiffSide const& oldSide, DiffSide const& newSide,
                   std::vector<std::string> const& goodResults, Output& output);
