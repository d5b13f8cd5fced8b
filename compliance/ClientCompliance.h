// The records that the tool and the agent exchange: a request, and the response with its rows.
//
// Plain values. All text is bytes without an encoding, kept unchanged. RequestDocument.h and
// ResponseDocument.h write them to disk and read them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The kind of a request, and of the response to it. Its width is fixed, so that any number may be
// held: a value outside the three known ones has no text in the documents.
enum ClientComplianceType : std::int32_t {
    ClientComplianceOpen = 0,
    ClientComplianceClose = 1,
    ClientComplianceProgress = 2,
};

// The texts of the three types in both documents: "Open", "Close" and "Progress".
extern char const* const xDatClientComplianceTypeOpen;
extern char const* const xDatClientComplianceTypeClose;
extern char const* const xDatClientComplianceTypeProgress;

// The state of an evaluation, by its number in the response document. The field is a plain number,
// because an agent may write any.
enum ClientComplianceState : std::int32_t {
    ClientComplianceStateFinished = 1,   // the rows hold the results
    ClientComplianceStateError = 2,      // `error` is the number that the agent reports
    ClientComplianceStateInProgress = 3, // `percent` is the progress
};

struct ClientComplianceRequest {
    ClientComplianceType type = ClientComplianceProgress;
    std::string url;         // the site's gather URL; empty except in an Open request
    std::string doc;         // the compliance document's name; empty except in an Open request
    std::uint32_t flags = 0; // a sum of COMPLIANCE_FLAG_ values; 0 except in an Open request
};

// A request to open an evaluation. A null `url` or `doc` counts as empty text.
ClientComplianceRequest CreateComplianceRequestOpen(char const* url, char const* doc,
                                                    unsigned int flags);
ClientComplianceRequest CreateComplianceRequestClose();
ClientComplianceRequest CreateComplianceRequestProgress();

// One result row, as the agent delivered it; nothing in it is parsed.
struct ClientComplianceResponseItem {
    // A null pointer counts as an empty string.
    ClientComplianceResponseItem(char const* designator, char const* result, char const* resultType,
                                 char const* evaluationTime, char const* description,
                                 char const* comment);

    std::string designator;
    std::string result;
    std::string resultType;
    std::string evaluationTime; // microseconds by custom, but text here
    std::string description;
    std::string comment;
};

// The agent's answer. Without progress elements it counts as an error with the value 0.
struct ClientComplianceResponse {
    // Constexpr, so that a response can be built before any code of the program runs.
    explicit constexpr ClientComplianceResponse(ClientComplianceType kind) noexcept : type(kind) {}

    // Back to the start values, with the rows destroyed and their array's storage kept.
    // The type becomes ClientComplianceProgress whatever it was before.
    void Reset();

    unsigned int GetComplianceCount() const;

    // The row at `index`, valid until the rows change.
    // REQUIRES: index < GetComplianceCount(); it is not tested here.
    ClientComplianceResponseItem const& operator[](unsigned int index) const;

    // Appends a row: a copy, or one built from six texts of which any may be null.
    void Add(ClientComplianceResponseItem const& item);
    void Add(char const* designator, char const* result, char const* resultType,
             char const* evaluationTime, char const* description, char const* comment);

    ClientComplianceType type;
    std::vector<ClientComplianceResponseItem> items; // in the document's order
    std::int32_t error = 0;                          // meaningful in the error state
    std::int32_t percent = 0;                        // meaningful while in progress
    std::int32_t state = ClientComplianceStateError; // a ClientComplianceState, or the agent's own
};

// The exceptions of the exchange. Deliberate: they have no base class, so a handler for
// std::exception does not catch them.
class ClientComplianceRequestIOWriteFailure {};   // the request could not be published
class ClientComplianceResponseIOWriteFailure {};  // the response could not be published
class ClientComplianceResponseReadFailure {};     // ends inside an element, or has no root
class ClientComplianceResponseBadDocumentType {}; // the root element has another name
class ClientComplianceResponseTypeFailure {};     // no usable type of response
