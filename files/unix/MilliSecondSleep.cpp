#include "files/MilliSecondSleep.h"

#include <unistd.h>

void MilliSecondSleep(unsigned int milliseconds) {
    unsigned int const seconds = milliseconds / 1000;
    if (seconds != 0)
        sleep(seconds);
    usleep(milliseconds % 1000 * 1000);
}
