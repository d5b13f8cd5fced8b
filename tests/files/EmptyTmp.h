// A machine for tests of the temporary directory.
#pragma once

#include <functional>

#include "tests/support/PrivateMachine.h"

// The body sees a /tmp that is empty, and gone at the end.
inline void WithEmptyTmp(std::function<void()> const& body) {
    PrivateMachine::Run({.emptyPlaces = {"/tmp"}}, body);
}
