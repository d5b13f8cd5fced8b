#include "data/DebuggableException.h"

#include <typeinfo>

static_assert(sizeof(DebuggableException) == sizeof(std::exception),
              "an exception carries nothing but its type");

DebuggableException::~DebuggableException() = default;

char const* DebuggableException::what() const noexcept { return typeid(*this).name(); }
