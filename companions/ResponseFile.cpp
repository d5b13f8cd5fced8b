#include "companions/ResponseFile.h"

#include <tuple>

#include <sys/stat.h>

#include "compliance/AgentPaths.h"

bool ResponseState::operator==(ResponseState const& other) const {
    auto const members = [](ResponseState const& state) {
        return std::tuple(state.exists, state.inode, state.size, state.modified.tv_sec,
                          state.modified.tv_nsec, state.changed.tv_sec, state.changed.tv_nsec);
    };
    return members(*this) == members(other);
}

ResponseState LookAtResponse() {
    struct stat facts {};
    if (lstat(AgentPaths::response, &facts) != 0)
        return {};
    return {true, facts.st_ino, facts.st_size, facts.st_mtim, facts.st_ctim};
}
