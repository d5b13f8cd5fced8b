#include "tests/torture/FileModel.h"

#include "tests/support/ScriptedAgent.h"

namespace {

std::string const request = ScriptedAgent::request;
std::string const temporary = ScriptedAgent::requestTemp;

} // namespace

// Null where nothing stands, or where nobody can get because the directory is away.
Entry const* FileModel::At(std::string const& path) const {
    std::string const directory = ScriptedAgent::requestDirectory;
    if (path.starts_with(directory + '/') && !entries.contains(directory))
        return nullptr;
    auto const found = entries.find(path);
    return found == entries.end() ? nullptr : &found->second;
}

FileModel::Seen FileModel::Look(std::string const& path) {
    calls.push_back("lstat " + path);
    Entry const* entry = At(path);
    if (!entry)
        return Seen::nothing;
    if (entry->kind == Entry::symbolicLink) {
        calls.push_back("stat " + path);
        return At(entry->bytes) ? Seen::file : Seen::brokenLink;
    }
    if (entry->kind == Entry::file)
        return Seen::file;
    return entry->kind == Entry::unixSocket ? Seen::other : Seen::directory;
}

bool FileModel::Stat(std::string const& path) {
    calls.push_back("stat " + path);
    return At(path) != nullptr;
}

bool FileModel::Open(std::string const& path, bool empties) {
    calls.push_back(empties ? "open RDWR|CREAT|TRUNC 666" : "open RDWR|CREAT 666");
    Entry const* const entry = At(path);
    std::string const& target = entry && entry->kind == Entry::symbolicLink ? entry->bytes : path;
    Entry const* const found = At(target);
    // What is missing can be made where there is a directory for it.
    bool const opens =
        found ? found->kind == Entry::file : target != Entry::nowhere && CanBeMade(target, entries);
    if (!opens)
        return false;
    calls.push_back("setfd 1");
    if (empties || !found)
        entries[target] = Entry::File("");
    return true;
}

std::optional<std::string> FileModel::Read(std::string const& path) {
    calls.push_back("open RDONLY");
    Entry const* entry = At(path);
    if (entry && entry->kind == Entry::symbolicLink)
        entry = At(entry->bytes);
    if (!entry || entry->kind == Entry::unixSocket)
        return std::nullopt;
    calls.push_back("setfd 1");
    // A directory opens, but can't be read.
    return entry->kind == Entry::file ? std::optional(entry->bytes) : std::nullopt;
}

bool FileModel::Write(std::string const& path, std::string const& bytes) {
    if (!Open(path, true))
        return false;
    Entry const& entry = entries[path];
    entries[entry.kind == Entry::symbolicLink ? entry.bytes : path].bytes = bytes;
    calls.push_back("fsync");
    return true;
}

bool FileModel::Move(std::string const& from, std::string const& to) {
    if (Look(from) == Seen::nothing || Look(to) != Seen::nothing)
        return false;
    calls.push_back("rename " + from + ' ' + to);
    entries[to] = entries[from];
    entries.erase(from);
    return true;
}

bool FileModel::ForceMove(std::string const& from, std::string const& to) {
    if (Look(from) == Seen::nothing)
        return false;
    if (Look(to) == Seen::nothing)
        return Move(from, to);
    bool const fromIsFile = Look(from) == Seen::file;
    bool const toIsFile = Look(to) == Seen::file;
    if (fromIsFile != toIsFile) {
        Look(from);
        return false;
    }
    return ForceNonexistence(to) && Move(from, to);
}

bool FileModel::ForceNonexistence(std::string const& path) {
    Seen const seen = Look(path);
    if (seen == Seen::file) {
        calls.push_back("unlink " + path);
        entries.erase(path);
    } else if (seen == Seen::directory) {
        Look(path);
        calls.push_back("rmdir " + path);
        if (entries[path].kind == Entry::fullDirectory)
            return false;
        entries.erase(path);
    }
    return true;
}

bool FileModel::Retry(std::function<bool()> const& operation) {
    for (unsigned int attempt = 1, pause = 16; !operation(); ++attempt, pause *= 2) {
        if (attempt == 8)
            return false;
        Sleep(pause);
    }
    return true;
}

bool FileModel::Publish(std::string const& bytes) {
    auto const move = [this] {
        return ForceMove(temporary, request);
    };
    if (Write(temporary, bytes) && Retry(move))
        return true;
    // Whatever stands there by now is published all the same.
    if (!Retry(move))
        Retry([this] { return ForceNonexistence(temporary); });
    return false;
}

void FileModel::Sleep(unsigned int milliseconds) {
    if (notice)
        notice();
    unsigned int const seconds = milliseconds / 1000;
    unsigned int const rest = milliseconds % 1000 * 1000;
    if (seconds != 0)
        Pass("sleep " + std::to_string(seconds), seconds * 1'000'000ull);
    Pass("usleep " + std::to_string(rest), rest);
}

void FileModel::Pass(std::string const& call, unsigned long long microseconds) {
    calls.push_back(call);
    now += microseconds;
    if (act)
        act();
}
