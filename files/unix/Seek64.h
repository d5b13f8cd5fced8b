// The system's seek, with arguments that hold any offset.
#pragma once

// lseek64(2): returns the new offset from the start of the file, or -1 with errno set. The system
// takes `offset` as signed: with SEEK_CUR the all-ones value is one byte back, with SEEK_SET it is
// refused. `whence` is not tested.
long long Seek64(unsigned int descriptor, unsigned long long offset, unsigned int whence);
