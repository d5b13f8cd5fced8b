// Runs a function on a small stack, which overflows if the function recurses into a deep tree.
#pragma once

#include <system_error>

#include <pthread.h>

// Runs `body` in a separate thread and waits for its end. REQUIRES: `body` does not throw.
//
// Recursion into a tree of 50,000 levels needs at least 2 MB, and into one of 5,000 at least 300
// KB. Both would fit into an ordinary stack of 8 MB.
template <class Body>
void OnSmallStack(Body body) {
    auto const run = [](void* argument) -> void* {
        (*static_cast<Body*>(argument))();
        return nullptr;
    };
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 128 * 1024);
    pthread_t thread;
    int const error = pthread_create(&thread, &attributes, run, &body);
    pthread_attr_destroy(&attributes);
    if (error != 0)
        throw std::system_error(error, std::generic_category(), "pthread_create");
    pthread_join(thread, nullptr);
}
