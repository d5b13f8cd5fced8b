// The standard file descriptors of a program that was started with some of them closed.
#pragma once

#include <fcntl.h>
#include <unistd.h>

// Opens /dev/null on each of the file descriptors 0 to 2 that is closed, with the access mode
// O_RDONLY or O_RDWR. A file opened later would otherwise get the number of standard output or
// standard error, and the output would go to that file. Without /dev/null the root directory is
// opened instead, which can't be written to.
//
// With O_RDONLY a write to such a descriptor fails with EBADF; with O_RDWR /dev/null discards it.
inline void OpenClosedStandardDescriptors(int accessMode) {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) == -1 && open("/dev/null", accessMode) == -1)
            // cppcheck-suppress leakReturnValNotUsed ; it stays open, to keep its number in use
            static_cast<void>(open("/", O_RDONLY));
    }
}
