#include "companions/UserName.h"

#include <cstdio>
#include <memory>

#include <pwd.h>

std::string UserName(uid_t user, char const* file) {
    std::unique_ptr<std::FILE, decltype(&std::fclose)> const entries(std::fopen(file, "re"),
                                                                     &std::fclose);
    if (entries != nullptr)
        // cppcheck-suppress fgetpwentCalled ; the companions have one thread
        while (passwd const* const entry = fgetpwent(entries.get()))
            if (entry->pw_uid == user)
                return entry->pw_name;
    return std::to_string(user);
}
