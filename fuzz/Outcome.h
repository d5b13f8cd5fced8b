// The outcome of an operation on names and locations as text: its result, or its exception.
#pragma once

#include "files/FileErrors.h"
#include "files/FileName.h"

// Returns the result as text, or the text of the exception, which contains its encoded type.
template <class Operation>
std::string OutcomeOf(Operation operation) {
    try {
        return "text " + std::string(operation());
    } catch (FileIOError const& error) {
        return (error.GetCode() == 0 ? "" : "with a code: ") + std::string(error.what());
    } catch (DebuggableException const& error) {
        return error.what();
    }
}

// The exception of a reference implementation. `name` is the expected result of OutcomeOf.
struct ReferenceFailure {
    std::string name;
};

template <class Operation>
std::string ReferenceOutcomeOf(Operation operation) {
    try {
        return "text " + std::string(operation());
    } catch (ReferenceFailure const& failure) {
        return failure.name;
    }
}

// Returns the failure whose outcome equals that of a file error without an error number.
inline ReferenceFailure ReferenceFileError(std::string const& type, std::string const& path) {
    std::string const where = path.empty() ? "" : " on \"" + path + "\"";
    return {"File error \"" + type + "\"" + where};
}

// Returns the text. Throws if it is not a valid FileName.
inline std::string const& RequireFileName(std::string const& text) {
    if (text.empty() || text.size() > 255)
        throw ReferenceFailure{"21IllegalFileNameLength"};
    if (text == "." || text == "..")
        throw ReferenceFailure{"23IllegalFileNameReserved"};
    if (text.find('/') != std::string::npos)
        throw ReferenceFailure{"15IllegalFileName"};
    return text;
}
