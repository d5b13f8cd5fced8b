// A C++17 class for the C API: the constructor opens an evaluation, the destructor closes it.
//
// Not thread-safe. A process can have only one object at a time.
#pragma once

#include <compliance/Compliance.h>

#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

// A failed evaluation. `number` is the error code of the C API, or the error number of the agent.
class EvaluationError : public std::runtime_error {
public:
    EvaluationError(std::string const& what, int theNumber)
        : std::runtime_error(what + ": " + std::to_string(theNumber)), number(theNumber) {}

    int const number;
};

struct EvaluationRow {
    std::string designator;
    std::string result;
    std::string resultType;
    std::string evaluationTime;
    std::string description;
    std::string comment;
};

class Evaluation {
public:
    // Opens the evaluation; blocks for a second or more. Throws EvaluationError and std::bad_alloc.
    Evaluation(std::string const& url, std::string const& doc, unsigned int flags = 0) {
        int const code = Open(url.c_str(), doc.c_str(), flags);
        if (code != 0)
            throw EvaluationError("the evaluation could not be opened", code);
    }

    // Closes the evaluation; blocks for a second or more. Releases the lock even if the exchange
    // with the agent fails, so the error code is ignored.
    ~Evaluation() { COMPLIANCE_Close(); }

    Evaluation(Evaluation const&) = delete;
    Evaluation& operator=(Evaluation const&) = delete;

    // Requests the progress from the agent; blocks for a second or more. Returns the percentage, or
    // nullopt if the evaluation has finished; later calls then return nullopt at once. Throws
    // EvaluationError, and can then be called again.
    std::optional<int> Poll() {
        int percent = 0;
        int error = 0;
        switch (int const state = COMPLIANCE_Progress(&percent, &error)) {
        case 1:
            return std::nullopt;
        case 2:
            throw EvaluationError("the agent reports an error", error);
        case 3:
            return percent;
        default:
            throw EvaluationError("the poll failed", state);
        }
    }

    // Returns copies of all rows, which can outlive the evaluation. Empty until Poll has returned
    // nullopt.
    std::vector<EvaluationRow> Rows() const {
        std::vector<EvaluationRow> rows;
        int const count = COMPLIANCE_ResultCount();
        for (int index = 0; index < count; ++index)
            rows.push_back(Row(static_cast<unsigned int>(index)));
        return rows;
    }

private:
    // COMPLIANCE_Open throws if memory is exhausted before the exchange. The lock is then held.
    static int Open(char const* url, char const* doc, unsigned int flags) {
        try {
            return COMPLIANCE_Open(url, doc, flags);
        } catch (std::bad_alloc const&) {
            COMPLIANCE_Close();
            throw;
        }
    }

    static EvaluationRow Row(unsigned int index) {
        char const *designator, *result, *type, *time, *description, *comment;
        int const code = COMPLIANCE_IndexedValue(index, &designator, &result, &type, &time,
                                                 &description, &comment);
        if (code != 0)
            throw EvaluationError("there is no such row", code);
        return {designator, result, type, time, description, comment};
    }
};
