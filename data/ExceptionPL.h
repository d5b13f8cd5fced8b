// The root of the exceptions that carry a text.
#pragma once

#include "data/ConstData.h"
#include "data/DebuggableException.h"

// An exception that owns its text.
//
// The text is always copied, so that it may be a temporary of the throwing expression: a thrown
// exception outlives the string from which its message was formatted.
//
// Deliberate: texts are counted up to their first NUL, modulo 2^32, wherever they are taken from a
// pointer or from another exception. Bytes behind a NUL in a range are stored, but what() ends at
// that NUL and a copy of the exception drops them.
class ExceptionPL : public DebuggableException {
public:
    // REQUIRES: `text` is not null and ends in a NUL.
    explicit ExceptionPL(char const* text);
    explicit ExceptionPL(ConstData text);

    // The assignment releases the old text before it allocates the new one. If that allocation
    // fails, std::bad_alloc passes through and the object holds no text: what() yields null then.
    ExceptionPL(ExceptionPL const& other);
    ExceptionPL& operator=(ExceptionPL const& other);

    ~ExceptionPL() override;

    // The text, NUL-terminated; owned by the exception.
    char const* what() const noexcept override;

protected:
    // Stores a copy of `text`, with a NUL behind it, and forgets (does not release) the text held
    // before.
    void Construct(ConstData text);

private:
    char* message = nullptr;
};
