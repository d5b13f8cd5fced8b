#include "companions/ReportInput.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

#include "companions/Arguments.h"
#include "companions/OptionValues.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t maxHostNameLength = 255;

bool IsHidden(std::string const& name) { return name.starts_with('.'); }

// The names that ResultFile gives to its temporary files.
bool IsTemporary(std::string_view name) {
    constexpr std::size_t suffixLength = 7;
    if (name.size() <= suffixLength || name[name.size() - suffixLength] != '.')
        return false;
    name.remove_suffix(suffixLength);
    return name.ends_with(".json") || name.ends_with(".ndjson");
}

void ListDirectory(std::string const& directory, ReportFiles& files) {
    std::error_code error;
    fs::directory_iterator entries(directory, error);
    while (!error && entries != fs::directory_iterator()) {
        std::string const name = entries->path().filename();
        std::error_code ignored;
        if (IsHidden(name))
            ;
        else if (entries->is_directory(ignored) && !entries->is_symlink(ignored))
            ListDirectory(entries->path(), files);
        else if (!entries->is_directory(ignored) && !IsTemporary(name))
            files.paths.push_back(entries->path());
        entries.increment(error);
    }
    if (error)
        files.problems.push_back(
            {directory, directory + ": could not be read: " + error.message()});
}

bool IsHostName(std::string const& name) {
    return name.size() <= maxHostNameLength && std::ranges::none_of(name, [](char c) {
               auto const byte = static_cast<unsigned char>(c);
               return byte <= ' ' || byte == 0x7F;
           });
}

} // namespace

ReportFiles ListReportFiles(std::vector<std::string> const& operands) {
    ReportFiles files;
    for (std::string const& operand : operands) {
        std::error_code ignored;
        if (fs::is_directory(operand, ignored))
            ListDirectory(operand, files);
        else
            files.paths.push_back(operand);
    }
    std::ranges::sort(files.paths);
    files.paths.erase(std::unique(files.paths.begin(), files.paths.end()), files.paths.end());
    return files;
}

std::vector<std::string> ReadHosts(std::string const& file) {
    std::ifstream lines(file);
    if (!lines)
        throw CommandLineError("--hosts: " + file +
                               " could not be opened: " + std::strerror(errno));
    std::vector<std::string> hosts;
    std::string line;
    for (std::size_t number = 1; std::getline(lines, line); ++number) {
        if (line.ends_with('\r'))
            line.pop_back();
        std::string const name = TrimSpaces(line);
        if (name.empty() || name.starts_with('#'))
            continue;
        if (!IsHostName(name))
            throw CommandLineError("--hosts: " + file + ":" + std::to_string(number) +
                                   ": expected one host name of at most 255 bytes");
        hosts.push_back(name);
    }
    if (lines.bad() || hosts.empty())
        throw CommandLineError("--hosts: " + file + ": expected a host name on each line");
    return hosts;
}
