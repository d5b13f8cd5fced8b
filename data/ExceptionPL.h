// A base class for exceptions that own a message.
#pragma once

#include "data/ConstData.h"
#include "data/DebuggableException.h"

// An exception that owns a copy of its message, so the argument may be a temporary.
//
// A message taken from a pointer or from another exception ends at its first NUL, and its length is
// computed modulo 2^32. A range is stored with its embedded NULs. The text of what() ends at the
// first one, and a copy of the exception drops the bytes after it.
class ExceptionPL : public DebuggableException {
public:
    // REQUIRES: `text` is NUL-terminated and not null.
    explicit ExceptionPL(char const* text);
    explicit ExceptionPL(ConstData text);

    // The assignment releases the old message before it allocates the new one. If it throws
    // std::bad_alloc, what() returns null.
    ExceptionPL(ExceptionPL const& other);
    ExceptionPL& operator=(ExceptionPL const& other);

    ~ExceptionPL() override;

    // Returns the message, NUL-terminated; valid until the exception is destroyed or assigned to.
    char const* what() const noexcept override;

protected:
    // Stores a NUL-terminated copy of `text`. Does not release the previous message.
    void Construct(ConstData text);

private:
    char* message = nullptr;
};
