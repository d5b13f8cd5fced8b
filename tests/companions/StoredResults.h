// Result documents for tests.
#pragma once

#include "companions/JsonRows.h"
#include "companions/Timestamp.h"
#include "tests/companions/CompanionTest.h"
#include "tests/companions/RowList.h"

// 2026-03-01 08:30:00 UTC.
constexpr time_t resultTime = 1772353800;

inline Provenance ProvenanceOf(char const* host, time_t start = resultTime) {
    Provenance provenance;
    provenance.url = "http://site/";
    provenance.document = "Doc.xml";
    provenance.host = host;
    provenance.start = {start, 0};
    provenance.end = {start + 10, 0};
    provenance.response = {.exists = true, .inode = 5, .modified = {start + 9, 0}};
    provenance.agentModified = timespec{1700000000, 0};
    return provenance;
}

inline std::string ResultText(RowList const& rows,
                              Provenance const& provenance = ProvenanceOf("web1")) {
    return OutputOf([&](Output& output) { WriteJson(RowsOf(rows), provenance, output); });
}

// Writes a file and creates its missing parent directories. Returns the path.
inline std::string WriteFile(std::string const& path, std::string const& text) {
    fs::create_directories(fs::path(path).parent_path());
    WriteWholeFile(path, text);
    return path;
}

// A row with this designator, result and comment.
inline Row ResultRow(std::string_view designator, std::string_view result,
                     std::string_view comment = "c") {
    return {designator, result, "type", "17", "d", comment};
}
