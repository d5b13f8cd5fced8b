// Responses of adversarial size: one construct, repeated many times.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Stress {

// A document of the bytes `head`, n times `unit`, n times `unitBehind`, and `tail`.
struct AdversarialDocument {
    char const* name = nullptr;
    std::string head = {};
    std::string unit = {};
    std::string tail = {};
    // The number of units at full size.
    std::size_t full = 0;
    // The maximum memory for reading the document, in bytes: for each unit, and for the rest. 0
    // means no limit.
    double maxBytes = 0;
    std::size_t spare = std::size_t{1} << 20;
    std::string unitBehind = {};
    // The rows of the record and the bytes of their texts: for each unit, and the rest. Or the name
    // of the exception.
    std::size_t rowsOfUnit = 0;
    std::size_t textOfUnit = 0;
    std::size_t rows = 0;
    std::string refusal = {};

    std::size_t Bytes(std::size_t n) const;
    // The outcome that DocumentReader prints.
    std::string Outcome(std::size_t n) const;
    void Write(std::string const& path, std::size_t n) const;
};

// Returns all documents.
std::vector<AdversarialDocument> const& AdversarialDocuments();

// Returns the document with this name.
AdversarialDocument const& AdversarialDocumentOf(std::string const& name);

} // namespace Stress
