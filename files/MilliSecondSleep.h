// The only function of the library that sleeps.
#pragma once

// Sleeps for the whole seconds by sleep(3), unless there are none, and then for the rest by
// usleep(3), even if the rest is 0. A signal can shorten either sleep; the remaining time is not
// slept.
void MilliSecondSleep(unsigned int milliseconds);
