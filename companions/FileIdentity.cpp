#include "companions/FileIdentity.h"

#include <map>

#include <sys/stat.h>
#include <unistd.h>

#include "companions/Arguments.h"

namespace {

// `facts` describes the file, or the directory in which `newName` does not exist yet.
FileIdentity MakeIdentity(struct stat const& facts, std::string const& newName = "") {
    return {facts.st_dev, facts.st_ino, newName};
}

std::optional<FileIdentity> IdentifyStandardOutput() {
    struct stat facts {};
    if (fstat(STDOUT_FILENO, &facts) != 0 || !S_ISREG(facts.st_mode))
        return {};
    return MakeIdentity(facts);
}

std::optional<FileIdentity> IdentifyNewFile(std::string const& path) {
    std::size_t const slash = path.rfind('/');
    std::size_t const start = slash == std::string::npos ? 0 : slash + 1;
    std::string const directory = start == 0 ? "." : path.substr(0, start);
    struct stat facts {};
    if (start == path.size() || stat(directory.c_str(), &facts) != 0)
        return {};
    return MakeIdentity(facts, path.substr(start));
}

std::string Quote(NamedFile const& file) { return file.name + " '" + file.path + "'"; }

} // namespace

std::optional<FileIdentity> IdentifyFile(std::string const& path) {
    struct stat facts {};
    return stat(path.c_str(), &facts) == 0 ? MakeIdentity(facts) : IdentifyNewFile(path);
}

std::optional<FileIdentity> IdentifyFile(NamedFile const& file) {
    return file.isStandardOutput ? IdentifyStandardOutput() : IdentifyFile(file.path);
}

void RefuseSharedFiles(std::vector<NamedFile> const& outputs,
                       std::vector<NamedFile> const& inputs) {
    std::map<FileIdentity, NamedFile> used;
    auto const refuseUsed = [&used](NamedFile const& file, FileIdentity const& identity) {
        auto const found = used.find(identity);
        if (found != used.end())
            throw CommandLineError(Quote(file) + " and " + Quote(found->second) +
                                   " are the same file; accepted: a separate file for each output");
    };
    for (NamedFile const& output : outputs)
        if (std::optional<FileIdentity> const identity = IdentifyFile(output)) {
            refuseUsed(output, *identity);
            used.emplace(*identity, output);
        }
    for (NamedFile const& input : inputs)
        if (std::optional<FileIdentity> const identity = IdentifyFile(input))
            refuseUsed(input, *identity);
}
