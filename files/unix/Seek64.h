// The system's seek, with arguments that hold any offset.
#pragma once

// lseek64(2): the new offset from the file's start, or -1 with errno set. `offset` is taken as
// signed, so that the all-ones value is one byte back. `whence` is not tested: the system decides.
long long Seek64(unsigned int descriptor, unsigned long long offset, unsigned int whence);
