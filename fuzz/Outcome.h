// The outcome of an operation on names and locations as text: its result, or its exception.
#pragma once

#include "files/FileErrors.h"
#include "files/FileName.h"

// Returns the result as text, or the name of the exception's class; for a file error, also its
// message.
template <class Operation>
std::string OutcomeOf(Operation operation) {
    auto const about = [](char const* type, FileIOError const& error) {
        return std::string(type) + (error.GetCode() == 0 ? ": " : " with a code: ") + error.what();
    };
    try {
        return "text " + std::string(operation());
    } catch (IllegalFileName const&) {
        return "IllegalFileName";
    } catch (IllegalFileNameLength const&) {
        return "IllegalFileNameLength";
    } catch (IllegalFileNameReserved const&) {
        return "IllegalFileNameReserved";
    } catch (ExtensionDoesNotMatch const&) {
        return "ExtensionDoesNotMatch";
    } catch (PrefixDoesNotMatch const&) {
        return "PrefixDoesNotMatch";
    } catch (EmptyFileLocationError const& error) {
        return about("EmptyFileLocationError", error);
    } catch (RootHasNoParent const& error) {
        return about("RootHasNoParent", error);
    } catch (InvalidFileLocation const& error) {
        return about("InvalidFileLocation", error);
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
    std::string const encoded = std::to_string(type.size()) + type;
    std::string const where = path.empty() ? "" : " on \"" + path + "\"";
    return {type + ": File error \"" + encoded + "\"" + where};
}

// Returns the text. Throws if it is not a valid FileName.
inline std::string const& RequireFileName(std::string const& text) {
    if (text.empty() || text.size() > 255)
        throw ReferenceFailure{"IllegalFileNameLength"};
    if (text == "." || text == "..")
        throw ReferenceFailure{"IllegalFileNameReserved"};
    if (text.find('/') != std::string::npos)
        throw ReferenceFailure{"IllegalFileName"};
    return text;
}
