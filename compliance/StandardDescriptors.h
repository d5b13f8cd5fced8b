// Opens the standard file descriptors that are closed when a program starts.
#pragma once

#include <fcntl.h>
#include <unistd.h>

// Opens /dev/null on any of the file descriptors 0 to 2 that is closed, with the access mode
// O_RDONLY or O_RDWR. Otherwise a file opened later would get the number of standard output or
// standard error, and the output would be written to that file. If /dev/null cannot be opened, the
// root directory is opened instead, which cannot be written to. If that fails, too, the file
// descriptor stays closed.
//
// With O_RDONLY, writing to such a file descriptor fails with EBADF. With O_RDWR, /dev/null
// discards the output.
inline void OpenClosedStandardDescriptors(int accessMode) {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) == -1 && open("/dev/null", accessMode) == -1)
            // cppcheck-suppress leakReturnValNotUsed ; it stays open, to keep its number in use
            static_cast<void>(open("/", O_RDONLY));
    }
}
