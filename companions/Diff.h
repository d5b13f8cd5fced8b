// The difference between two results.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "companions/StoredResult.h"

class Output;

// The schema's version. Members may be added within a version.
constexpr int diffSchemaVersion = 1;

// The fields in which a change is a difference: result, description and comment.
constexpr std::array<std::size_t, 3> comparedFields = {resultField, 4, 5};

// A result with its rows in memory.
struct DiffSide {
    std::string file = {};
    StoredResult result = {};
    std::vector<StoredRow> rows = {};
};

// Throws StoredResultError, also for the document of a failed evaluation.
DiffSide ReadDiffSide(std::string const& file);

// A designator that several rows of a side have. `oldCount` and `newCount` are the numbers of rows.
struct EqualDesignators {
    std::string designator;
    std::size_t oldCount;
    std::size_t newCount;
};

struct Difference {
    // Indices of rows, in their order.
    std::vector<std::size_t> removed = {};
    std::vector<std::size_t> added = {};
    // The index in the old result and in the new one, in the order of the new one.
    std::vector<std::pair<std::size_t, std::size_t>> changed = {};
    // Set by KeepRegressions: how many removed rows had a result of the list. A row that is missing
    // has no result, so it is no regression.
    std::size_t missing = 0;
    // In the order of the designators.
    std::vector<EqualDesignators> equalDesignators = {};

    bool IsEmpty() const { return removed.empty() && added.empty() && changed.empty(); }
};

// Rows match by their designator; the n-th row with a designator matches the n-th one of the other
// result. A row is changed if one of the compared fields differs.
Difference CompareRows(std::vector<StoredRow> const& oldRows,
                       std::vector<StoredRow> const& newRows);

// Keeps the changed rows whose old result is in the list and whose new result is not.
void KeepRegressions(Difference& difference, DiffSide const& oldSide, DiffSide const& newSide,
                     std::vector<std::string> const& goodResults);

// What a reader of the difference has to know about the two results: other hosts or documents, a
// new result that is older, missing provenance, equal designators. One line each.
std::vector<std::string> DescribeSides(Difference const& difference, DiffSide const& oldSide,
                                       DiffSide const& newSide);

// Writes nothing if there is no difference. The texts are visible text (VisibleText.h).
void WriteDiffText(Difference const& difference, DiffSide const& oldSide, DiffSide const& newSide,
                   bool useColor, Output& output);

// Writes one object. `goodResults` are those of --regressions. The schema is
// schema/compliance-diff.schema.json.
void WriteDiffJson(Difference const& difference, DiffSide const& oldSide, DiffSide const& newSide,
                   std::vector<std::string> const& goodResults, Output& output);
