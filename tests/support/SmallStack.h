// Runs a function on a small stack, on which deep recursion crashes the test.
#pragma once

#include <cstddef>
#include <system_error>

#include <pthread.h>

// Runs the body in a thread with a stack of this size, and waits for its end. REQUIRES: the body
// does not throw.
template <class Body>
void RunOnSmallStack(std::size_t bytes, Body const& body) {
    auto const check = [](int error) {
        if (error != 0)
            throw std::system_error(error, std::generic_category(),
                                    "cannot create a thread with a small stack");
    };
    pthread_attr_t attributes;
    check(pthread_attr_init(&attributes));
    check(pthread_attr_setstacksize(&attributes, bytes));
    auto const run = [](void* argument) -> void* {
        (*static_cast<Body const*>(argument))();
        return nullptr;
    };
    pthread_t thread;
    check(pthread_create(&thread, &attributes, run,
                         const_cast<void*>(static_cast<void const*>(&body))));
    check(pthread_join(thread, nullptr));
    pthread_attr_destroy(&attributes);
}
