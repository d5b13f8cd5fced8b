#include "tests/torture/Sleeps.h"

#include <unistd.h>

std::size_t Torture::Sleeps::count = 0;
void (*Torture::Sleeps::meanwhile)() = nullptr;

extern "C" unsigned int sleep(unsigned int) {
    Torture::Sleeps::Add();
    return 0;
}

extern "C" int usleep(useconds_t) { return 0; }
