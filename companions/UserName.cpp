#include "companions/UserName.h"

#include <cstdio>
#include <memory>

#include <pwd.h>

namespace {

// Not the type of std::fclose, whose attributes a compiler ignores there with a warning.
struct CloseFile {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};

} // namespace

std::string UserName(uid_t user, char const* file) {
    std::unique_ptr<std::FILE, CloseFile> const entries(std::fopen(file, "re"));
    if (entries != nullptr)
        // cppcheck-suppress fgetpwentCalled ; the companions have one thread
        while (passwd const* const entry = fgetpwent(entries.get()))
            if (entry->pw_uid == user)
                return entry->pw_name;
    return std::to_string(user);
}
