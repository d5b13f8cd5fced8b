#include "data/ExceptionPL.h"

#include <cstdint>
#include <cstring>

static_assert(sizeof(ExceptionPL) == sizeof(DebuggableException) + sizeof(char*),
              "a message and nothing else is added");

namespace {

// Null, the message after a failed assignment, counts as empty.
ConstData CountedText(char const* text) {
    return text == nullptr ? ConstData()
                           : ConstData(text, static_cast<std::uint32_t>(std::strlen(text)));
}

} // namespace

ExceptionPL::ExceptionPL(char const* text) { Construct(CountedText(text)); }

ExceptionPL::ExceptionPL(ConstData text) { Construct(text); }

ExceptionPL::ExceptionPL(ExceptionPL const& other) : DebuggableException(other) {
    Construct(CountedText(other.message));
}

ExceptionPL& ExceptionPL::operator=(ExceptionPL const& other) {
    if (this != &other) {
        delete[] message;
        message = nullptr;
        Construct(CountedText(other.message));
    }
    return *this;
}

ExceptionPL::~ExceptionPL() {
    delete[] message;
    message = nullptr;
}

char const* ExceptionPL::what() const noexcept { return message; }

void ExceptionPL::Construct(ConstData text) {
    char* copy = new char[text.Length() + 1];
    if (!text.IsEmpty())
        std::memcpy(copy, text.begin, text.Length());
    copy[text.Length()] = '\0';
    message = copy;
}
