// lseek(2) with arguments that hold any offset.
#pragma once

// Calls lseek64(3). Returns the new offset from the start of the file, or -1 with errno set. The
// system takes `offset` as signed: with SEEK_CUR the all-ones value moves back by one byte, with
// SEEK_SET it is refused. `whence` is not checked.
long long Seek64(unsigned int descriptor, unsigned long long offset, unsigned int whence);
