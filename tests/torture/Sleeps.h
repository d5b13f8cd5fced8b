// Nothing waits: a program that links this has sleep(3) and usleep(3) replaced. They ask for no
// memory, so that who counts allocations sees those of the product alone.
#pragma once

#include <cstddef>

namespace Torture {

class Sleeps {
public:
    // How many there were of whole seconds: those of the exchange, and not those between attempts.
    static std::size_t Count() { return count; }

    // Is called in the place of each of these; null for nothing.
    static void Meanwhile(void (*call)()) { meanwhile = call; }

    static void Add() {
        ++count;
        if (meanwhile != nullptr)
            meanwhile();
    }

private:
    static std::size_t count;
    static void (*meanwhile)();
};

} // namespace Torture
