// The request and the response that the tool and the agent exchange.
//
// These are plain values. Text is bytes in an unspecified encoding, kept unchanged.
// RequestDocument.h and ResponseDocument.h read and write the documents on disk.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The type of a request, and of the response to it. The underlying type is fixed, so the
// enumeration can hold any 32-bit number. Only the three values below have a text in the documents.
enum ClientComplianceType : std::int32_t {
    ClientComplianceOpen = 0,
    ClientComplianceClose = 1,
    ClientComplianceProgress = 2,
};

// The texts of the three types in both documents: "Open", "Close" and "Progress".
extern char const* const xDatClientComplianceTypeOpen;
extern char const* const xDatClientComplianceTypeClose;
extern char const* const xDatClientComplianceTypeProgress;

// The states of an evaluation. The values are the numbers in the response document. The member
// `state` of ClientComplianceResponse is an integer, because an agent may write any number.
enum ClientComplianceState : std::int32_t {
    ClientComplianceStateFinished = 1,   // the rows hold the results
    ClientComplianceStateError = 2,      // `error` is the number that the agent reports
    ClientComplianceStateInProgress = 3, // `percent` is the progress
};

struct ClientComplianceRequest {
    ClientComplianceType type = ClientComplianceProgress;
    std::string url;         // the site's gather URL; empty except in an Open request
    std::string doc;         // the compliance document's name; empty except in an Open request
    std::uint32_t flags = 0; // bitwise OR of COMPLIANCE_FLAG_ values; 0 except in an Open request
};

// Returns a request to open an evaluation. A null `url` or `doc` counts as the empty string.
ClientComplianceRequest CreateComplianceRequestOpen(char const* url, char const* doc,
                                                    unsigned int flags);
ClientComplianceRequest CreateComplianceRequestClose();
ClientComplianceRequest CreateComplianceRequestProgress();

// One result row, as received from the agent. Its texts are not parsed.
struct ClientComplianceResponseItem {
    // A null pointer counts as the empty string.
    ClientComplianceResponseItem(char const* designator, char const* result, char const* resultType,
                                 char const* evaluationTime, char const* description,
                                 char const* comment);

    std::string designator;
    std::string result;
    std::string resultType;
    std::string evaluationTime; // by convention microseconds, as text
    std::string description;
    std::string comment;
};

// The agent's response. For a document without progress elements, the members keep their initial
// values: the error state, with the error number 0.
struct ClientComplianceResponse {
    // Constexpr, to allow constant initialization.
    explicit constexpr ClientComplianceResponse(ClientComplianceType kind) noexcept : type(kind) {}

    // Sets the initial values and removes all rows, keeping the capacity of `items`. The type
    // becomes ClientComplianceProgress, whatever it was before.
    void Reset();

    // Returns the number of rows.
    unsigned int GetComplianceCount() const;

    // Returns the row at `index`, valid until the rows change.
    // REQUIRES: index < GetComplianceCount().
    ClientComplianceResponseItem const& operator[](unsigned int index) const;

    // Append a copy of a row, or a row with six texts, of which any may be null.
    void Add(ClientComplianceResponseItem const& item);
    void Add(char const* designator, char const* result, char const* resultType,
             char const* evaluationTime, char const* description, char const* comment);

    ClientComplianceType type;
    std::vector<ClientComplianceResponseItem> items; // in the document's order
    std::int32_t error = 0;                          // valid in the error state
    std::int32_t percent = 0;                        // valid in progress
    std::int32_t state = ClientComplianceStateError; // a ClientComplianceState or another number
};

// The exceptions of an exchange.
//
// Deliberate: they have no base class, because they have no text. So a handler for std::exception
// does not catch them.
class ClientComplianceRequestIOWriteFailure {};   // the request could not be written or published
class ClientComplianceResponseIOWriteFailure {};  // the response could not be written or published
class ClientComplianceResponseReadFailure {};     // the response is incomplete or has no root
class ClientComplianceResponseBadDocumentType {}; // the root of the response has another name
class ClientComplianceResponseTypeFailure {};     // the response has no known type
