#include "tests/torture/Entries.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <stdexcept>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

#include "tests/support/PrivateMachine.h"
#include "tests/support/ScriptedAgent.h"

namespace {

namespace fs = std::filesystem;

constexpr char const* requestDirectory = ScriptedAgent::requestDirectory;
constexpr char const* hiddenDirectory = "/var/opt/VeskaClient/Hidden";
constexpr char const* directoryOfResponses = "/var/opt/VeskaClient/ResponseDir";

void Require(bool isMade, std::string const& path) {
    if (!isMade)
        throw std::runtime_error("can't make " + path);
}

void MakeSocket(std::string const& path) {
    int const made = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    Require(bind(made, reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0, path);
    close(made);
}

std::string Content(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void ReadInto(Entries& entries, std::string const& path) {
    if (Entry const entry = EntryOnDisk(path); entry.kind != Entry::nothing)
        entries[path] = entry;
}

void Make(std::string const& path, Entry const& entry) {
    switch (entry.kind) {
    case Entry::nothing:
        return;
    case Entry::file:
        return Require(!!(std::ofstream(path, std::ios::binary) << entry.bytes << std::flush),
                       path);
    case Entry::directory:
        return static_cast<void>(fs::create_directory(path));
    case Entry::fullDirectory:
        fs::create_directories(path + "/inside");
        return;
    case Entry::symbolicLink:
        return fs::create_symlink(entry.bytes, path);
    case Entry::unixSocket:
        return MakeSocket(path);
    case Entry::fifo:
        return Require(mkfifo(path.c_str(), 0666) == 0, path);
    case Entry::device:
        if (mknod(path.c_str(), S_IFCHR | 0666, makedev(1, 3)) != 0)
            fs::create_symlink("/dev/null", path);
    }
}

} // namespace

std::ostream& operator<<(std::ostream& out, Entry const& entry) {
    static constexpr char const* names[] = {"nothing", "file",   "directory", "full directory",
                                            "link",    "socket", "fifo",      "device"};
    out << names[entry.kind];
    if (!entry.bytes.empty())
        out << " [" << entry.bytes.substr(0, 600) << ']';
    return out;
}

Entry EntryOnDisk(std::string const& path) {
    if (fs::is_character_file(path))
        return {Entry::device};
    switch (fs::symlink_status(path).type()) {
    case fs::file_type::regular:
        return Entry::File(Content(path));
    case fs::file_type::directory:
        return {fs::is_empty(path) ? Entry::directory : Entry::fullDirectory};
    case fs::file_type::symlink:
        return Entry::Link(fs::read_symlink(path));
    case fs::file_type::socket:
        return {Entry::unixSocket};
    case fs::file_type::fifo:
        return {Entry::fifo};
    default:
        return {};
    }
}

bool CanBeMade(std::string const& path, Entries const& entries) {
    return !path.starts_with(std::string(requestDirectory) + '/') ||
           entries.contains(requestDirectory);
}

void Do(Act const& act, Entries& entries) {
    if (!CanBeMade(act.path, entries))
        return;
    if (act.entry.kind == Entry::nothing)
        entries.erase(act.path);
    else
        entries[act.path] = act.entry;
}

void PlaceOnDisk(std::string const& path, Entry const& entry) {
    if (path == requestDirectory) {
        bool const away = entry.kind == Entry::nothing;
        if (fs::exists(path) == away)
            fs::rename(away ? path : hiddenDirectory, away ? hiddenDirectory : path);
        return;
    }
    if (!fs::exists(fs::path(path).parent_path()))
        return;
    fs::remove_all(path);
    Make(path, entry);
}

Entries ReadFromDisk() {
    Entries entries;
    bool const hidden = fs::exists(hiddenDirectory);
    if (!hidden)
        entries[requestDirectory] = {Entry::directory};
    for (auto const& entry : fs::directory_iterator(hidden ? hiddenDirectory : requestDirectory))
        entries[fs::path(requestDirectory) / entry.path().filename()] = EntryOnDisk(entry.path());
    for (auto const& entry : fs::directory_iterator(directoryOfResponses))
        entries[entry.path()] = EntryOnDisk(entry.path());
    for (char const* const path : {Entry::elsewhere, PrivateMachine::agentProgram, agentLink})
        ReadInto(entries, path);
    return entries;
}

// A line "when kind path size", and so many bytes.
void WriteActs(std::string const& path, std::vector<Act> const& acts) {
    std::ofstream file(path, std::ios::binary);
    for (Act const& act : acts)
        file << act.when << ' ' << act.entry.kind << ' ' << act.path << ' '
             << act.entry.bytes.size() << '\n'
             << act.entry.bytes << '\n';
    Require(!!file.flush(), path);
}

std::vector<Act> ReadActs(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<Act> acts;
    int kind = 0;
    size_t size = 0;
    for (Act act; file >> act.when >> kind >> act.path >> size; acts.push_back(act)) {
        file.get();
        act.entry.kind = static_cast<Entry::Kind>(kind);
        act.entry.bytes.resize(size);
        file.read(act.entry.bytes.data(), static_cast<std::streamsize>(size));
    }
    return acts;
}
