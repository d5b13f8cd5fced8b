#include "companions/UserName.h"

#include <cstdio>
#include <memory>

#include <pwd.h>

namespace {

// Not decltype(&std::fclose): the compiler warns that it ignores the attributes of that type.
struct CloseFile {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};

} // namespace

std::string UserName(uid_t user, char const* file) {
    std::unique_ptr<std::FILE, CloseFile> const entries(std::fopen(file, "re"));
    if (entries != nullptr)
        // cppcheck-suppress fgetpwentCalled ; the companions are single-threaded
        while (passwd const* const entry = fgetpwent(entries.get()))
            if (entry->pw_uid == user)
                return entry->pw_name;
    return std::to_string(user);
}
