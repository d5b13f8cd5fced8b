// The names of users, without the name service, which a static program cannot use.
#pragma once

#include <string>

#include <sys/types.h>

// Returns the name of the user in a file like /etc/passwd (passwd(5)), or the number if that file
// does not have it.
std::string UserName(uid_t user, char const* file = "/etc/passwd");
