// Responses that are hostile by their size: one thing again and again.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Stress {

// The bytes `head`, then `unit` n times, `unitBehind` n times, and `tail`.
struct AdversarialDocument {
    char const* name = nullptr;
    std::string head = {};
    std::string unit = {};
    std::string tail = {};
    // The number of units at full size.
    std::size_t full = 0;
    // The most memory that reading it may take for each unit, and in any case; no promise for 0.
    double maxBytes = 0;
    std::size_t spare = std::size_t{1} << 20;
    std::string unitBehind = {};
    // The rows of the record and the bytes of text in them, both for each unit and in any case; or
    // the name of the exception.
    std::size_t rowsOfUnit = 0;
    std::size_t textOfUnit = 0;
    std::size_t rows = 0;
    std::string refusal = {};

    std::size_t Bytes(std::size_t n) const;
    // What DocumentReader says of it.
    std::string Outcome(std::size_t n) const;
    void Write(std::string const& path, std::size_t n) const;
};

// Each kind there is.
std::vector<AdversarialDocument> const& AdversarialDocuments();

// That of the name.
AdversarialDocument const& AdversarialDocumentOf(std::string const& name);

} // namespace Stress
