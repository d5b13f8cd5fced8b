#include "companions/ReportInput.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include "companions/Arguments.h"
#include "companions/FileContent.h"
#include "companions/OptionValues.h"
#include "companions/ResultFile.h"

namespace {

namespace fs = std::filesystem;

bool IsHidden(std::string const& name) { return name.starts_with('.'); }

// Returns the name of the file whose temporary file (ResultFile.h) could have this name, or an
// empty string. mkostemp(3) creates names of letters and digits.
std::string_view TargetOfTemporary(std::string_view name) {
    constexpr std::size_t length = temporarySuffix.size();
    constexpr char lettersAndDigits[] =
        "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    if (name.size() <= length)
        return "";
    std::size_t const dot = name.size() - length;
    std::size_t const other = name.find_first_not_of(lettersAndDigits, dot + 1);
    return name[dot] == '.' && other == std::string_view::npos ? name.substr(0, dot) : "";
}

bool IsTemporaryResult(std::string_view name) {
    std::string_view const target = TargetOfTemporary(name);
    return target.ends_with(".json") || target.ends_with(".ndjson");
}

class Lister {
public:
    explicit Lister(std::vector<NamedFile> const& namedOutputs) {
        for (NamedFile const& output : namedOutputs)
            if (std::optional<FileIdentity> const identity = IdentifyFile(output))
                outputs.insert(*identity);
    }

    ReportFiles files = {};

    // Not std::filesystem::directory_iterator, because that of libstdc++ 12 terminates the program
    // if it cannot allocate memory.
    void ListDirectory(std::string const& directory) {
        std::unique_ptr<DIR, CloseDirectory> const stream(opendir(directory.c_str()));
        while (dirent const* const entry = stream ? NextEntry(stream.get()) : nullptr)
            ListEntry(directory, entry->d_name);
        if (int const error = errno; error != 0)
            files.problems.push_back(
                {directory, directory + ": could not be read: " + std::strerror(error)});
    }

private:
    struct CloseDirectory {
        void operator()(DIR* directory) const { closedir(directory); }
    };

    // Returns null and sets errno at the end (0) and after an error.
    static dirent* NextEntry(DIR* directory) {
        errno = 0;
        return readdir(directory);
    }

    void ListEntry(std::string const& directory, std::string const& name) {
        if (IsHidden(name))
            return;
        fs::path const path = fs::path(directory) / name;
        std::error_code ignored;
        if (!fs::is_directory(path, ignored)) {
            if (!IsTemporaryResult(name) && !IsOutput(path))
                files.paths.push_back(path);
        } else if (!fs::is_symlink(path, ignored)) {
            ListDirectory(path);
        }
    }

    bool IsOutput(std::string const& path) const {
        return !outputs.empty() &&
               (Contains(path) || Contains(std::string(TargetOfTemporary(path))));
    }

    bool Contains(std::string const& path) const {
        std::optional<FileIdentity> const identity =
            path.empty() ? std::nullopt : IdentifyFile(path);
        return identity && outputs.contains(*identity);
    }

    std::set<FileIdentity> outputs;
};

bool IsHostName(std::string const& name) {
    return name.size() <= maxHostNameLength && std::ranges::none_of(name, [](char c) {
               auto const byte = static_cast<unsigned char>(c);
               return byte <= ' ' || byte == 0x7F;
           });
}

CommandLineError HostsError(std::string const& file, std::string const& problem) {
    return CommandLineError("--hosts: " + file + problem);
}

// Returns the content of the file without a byte order mark.
std::string ReadHostsText(std::string const& file) {
    int const descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        throw HostsError(file, std::string(" could not be opened: ") + std::strerror(errno));
    std::optional<std::string> const text = ReadContent(descriptor, maxHostsBytes + 1);
    int const error = errno;
    close(descriptor);
    if (!text)
        throw HostsError(file, std::string(" could not be read: ") + std::strerror(error));
    if (text->size() > maxHostsBytes)
        throw HostsError(file, ": expected at most " + std::to_string(maxHostsBytes) + " bytes");
    return text->substr(text->starts_with("\xEF\xBB\xBF") ? 3 : 0);
}

} // namespace

ReportFiles ListReportFiles(std::vector<std::string> const& operands,
                            std::vector<NamedFile> const& outputs) {
    Lister lister(outputs);
    for (std::string const& operand : operands) {
        std::error_code ignored;
        if (fs::is_directory(operand, ignored))
            lister.ListDirectory(operand);
        else
            lister.files.paths.push_back(operand);
    }
    std::vector<std::string>& paths = lister.files.paths;
    std::ranges::sort(paths);
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
    return std::move(lister.files);
}

std::vector<std::string> ReadHosts(std::string const& file) {
    std::istringstream lines(ReadHostsText(file));
    std::vector<std::string> hosts;
    std::string line;
    for (std::size_t number = 1; std::getline(lines, line); ++number) {
        if (line.ends_with('\r'))
            line.pop_back();
        std::string const name = TrimSpaces(line);
        if (name.empty() || name.starts_with('#'))
            continue;
        if (!IsHostName(name))
            throw HostsError(file, ":" + std::to_string(number) +
                                       ": expected one host name of at most 255 bytes");
        hosts.push_back(name);
    }
    if (hosts.empty())
        throw HostsError(file, ": expected a host name on each line");
    return hosts;
}
