// Looks up the names of users without the name service (nsswitch.conf(5)), which a static program
// cannot use.
#pragma once

#include <string>

#include <sys/types.h>

// Returns the name of the user in a file in the format of passwd(5), or the user ID in decimal if
// the file has no entry or cannot be read.
std::string UserName(uid_t user, char const* file = "/etc/passwd");
