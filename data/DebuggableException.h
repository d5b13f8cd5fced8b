// The root of what this library throws.
//
// Most classes below it are bare types: they carry nothing, and the catch that stops one tells it
// apart. They are thrown by value on the spot and caught by reference; none is ever kept.
#pragma once

#include <exception>

namespace UnixPlatform {

// The place where a platform can hang data for debugging on every exception. Here it holds nothing
// and, as an empty base, adds nothing to the size of an exception.
class ExceptionDebuggingInfo {};

} // namespace UnixPlatform

class DebuggableException : public std::exception, public UnixPlatform::ExceptionDebuggingInfo {
public:
    ~DebuggableException() override;

    // The name of the dynamic type, as the Itanium C++ ABI encodes it ("12DataOverflow"), so that a
    // derived class names itself without any code of its own. Static storage; not meant for a user.
    char const* what() const noexcept override;
};
