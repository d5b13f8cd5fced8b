// The five functions as a class: an evaluation is open as long as its object lives.
//
// C++17. One object at a time in a process, and all of it on one thread.
#pragma once

#include <compliance/Compliance.h>

#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

// A negative code of the functions, or the number of an error that the agent reports.
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
    // Opens the evaluation; takes a second or more. Throws EvaluationError.
    Evaluation(std::string const& url, std::string const& doc, unsigned int flags = 0) {
        int const code = Open(url.c_str(), doc.c_str(), flags);
        if (code != 0)
            throw EvaluationError("the evaluation could not be opened", code);
    }

    // Closes it; takes a second or more. What becomes of that exchange is nobody's concern here:
    // the lock is released in any case.
    ~Evaluation() { COMPLIANCE_Close(); }

    Evaluation(Evaluation const&) = delete;
    Evaluation& operator=(Evaluation const&) = delete;

    // Asks the agent once; takes a second or more. Returns its percentage, or nothing when the
    // evaluation has finished. Throws EvaluationError; after that one may go on asking.
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
            throw EvaluationError("the agent could not be asked", state);
        }
    }

    // Copies of all rows, so that they outlive the evaluation; none before it has finished.
    std::vector<EvaluationRow> Rows() const {
        std::vector<EvaluationRow> rows;
        int const count = COMPLIANCE_ResultCount();
        for (int index = 0; index < count; ++index)
            rows.push_back(Row(static_cast<unsigned int>(index)));
        return rows;
    }

private:
    // Memory that is exhausted before the exchange is the one failure that comes as an exception,
    // and it may leave the lock taken.
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
