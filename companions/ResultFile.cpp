#include "companions/ResultFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

[[noreturn]] void Fail(std::string const& path, char const* action) {
    throw ResultFileError(path + " could not be " + action + ": " + std::strerror(errno));
}

// The target of a symbolic link, or the path itself.
std::string ResolveTarget(std::string const& path) {
    struct stat facts {};
    if (lstat(path.c_str(), &facts) != 0 || !S_ISLNK(facts.st_mode))
        return path;
    std::unique_ptr<char, decltype(&std::free)> const target(realpath(path.c_str(), nullptr),
                                                             std::free);
    if (target == nullptr)
        Fail(path, "resolved");
    return target.get();
}

void RefuseOtherKinds(std::string const& path) {
    struct stat facts {};
    if (stat(path.c_str(), &facts) == 0 && !S_ISREG(facts.st_mode))
        throw ResultFileError(path + " is no regular file, so it is not replaced");
}

mode_t ModeOfNewFile() {
    mode_t const mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

// A rename is on the disk once its directory is.
void FlushDirectoryOf(std::string const& path) {
    std::size_t const slash = path.rfind('/');
    std::string const directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    int const descriptor = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    fsync(descriptor);
    close(descriptor);
}

} // namespace

ResultFile::ResultFile(std::string const& path)
    : target(ResolveTarget(path)), temporary(target + ".XXXXXX") {
    RefuseOtherKinds(target);
    descriptor = mkostemp(temporary.data(), O_CLOEXEC);
    if (descriptor < 0)
        Fail(target, "replaced");
    static_cast<void>(fchmod(descriptor, ModeOfNewFile()));
}

ResultFile::~ResultFile() {
    close(descriptor);
    if (!temporary.empty())
        unlink(temporary.c_str());
}

void ResultFile::Publish() {
    if (fsync(descriptor) != 0)
        Fail(target, "flushed to the disk");
    if (rename(temporary.c_str(), target.c_str()) != 0)
        Fail(target, "replaced");
    temporary.clear();
    FlushDirectoryOf(target);
}
