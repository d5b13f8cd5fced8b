// The base class of most exceptions of this library, and the exception for results that do not fit.
//
// Most derived classes have no members: a handler recognizes them by their type. They are thrown by
// value, caught by reference and never stored.
#pragma once

#include <exception>

namespace UnixPlatform {

// A base for debugging data of the platform. It is empty here and adds nothing to the size of an
// exception.
class ExceptionDebuggingInfo {};

} // namespace UnixPlatform

class DebuggableException : public std::exception, public UnixPlatform::ExceptionDebuggingInfo {
public:
    ~DebuggableException() override;

    // Returns the name of the dynamic type, as the Itanium C++ ABI encodes it ("12DataOverflow"),
    // in static storage. Derived classes need no code for it. Not meant for end users.
    char const* what() const noexcept override;
};

// A result does not fit into its target range.
class DataOverflow : public DebuggableException {};
