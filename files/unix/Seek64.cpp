#include "files/unix/Seek64.h"

#include <unistd.h>

long long Seek64(unsigned int descriptor, unsigned long long offset, unsigned int whence) {
    return lseek64(static_cast<int>(descriptor), static_cast<off64_t>(offset),
                   static_cast<int>(whence));
}
