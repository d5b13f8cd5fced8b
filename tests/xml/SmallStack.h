// Runs a piece of code on a stack so small that recursion into a deep tree cannot go unseen.
#pragma once

#include <system_error>

#include <pthread.h>

// Returns when `body` has returned, on a thread of its own. `body` throws nothing.
//
// A tree of 50,000 levels would need at least 2 MB for a recursion, and of 5,000 at least 300 KB;
// on an ordinary stack of 8 MB both would pass.
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
