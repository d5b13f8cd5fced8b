// The one sleep of the library.
#pragma once

// Sleeps for whole seconds by sleep(3), unless there are none, and then for the rest by usleep(3),
// even if that is 0. A signal can shorten either; nobody looks at what is left.
void MilliSecondSleep(unsigned int milliseconds);
