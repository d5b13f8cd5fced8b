// Looks up the names of users without the name service (nsswitch.conf(5)). For that service, a
// static program would need the shared libraries of the same version of the C library.
#pragma once

#include <string>

#include <sys/types.h>

// Returns the name of the user according to `file`, which has the format of passwd(5). Returns the
// user ID in decimal if the file has no entry for the user or cannot be read.
std::string UserName(uid_t user, char const* file = "/etc/passwd");
