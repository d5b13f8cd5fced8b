#include "tests/stress/FileModel.h"

#include <algorithm>
#include <cerrno>

#include "tests/support/ScriptedAgent.h"

namespace {

std::string const request = ScriptedAgent::request;
std::string const temporary = ScriptedAgent::requestTemp;

std::string ObjectOf(std::string const& path) { return path.substr(path.rfind('/') + 1); }

} // namespace

// Records a predicted call. Returns its injected error, or 0.
int FileModel::Call(std::string const& text) {
    calls.push_back(text);
    return trace.ErrorOf(calls.size() - 1);
}

bool FileModel::IsHit(std::string const& name, std::string const& object) const {
    auto const& others = trace.OthersBefore(calls.size());
    return std::any_of(others.begin(), others.end(), [&](LoggedCall const& call) {
        return call.name == name && call.object == object && call.error != 0;
    });
}

// A seek to the end that fails with EINVAL makes the length of the file unknown. If the length was
// known before, one such failure has no effect; otherwise the end of the file is an error.
bool FileModel::IsReadHit(std::string const& object) const {
    bool isLengthKnown = false;
    unsigned int harmless = 0;
    for (LoggedCall const& call : trace.OthersBefore(calls.size())) {
        bool const reads = call.name == "read" || call.name == "seek" || call.name == "close";
        if (!reads || call.object != object)
            continue;
        bool const seeksEnd = call.name == "seek" && call.arguments == "0 END";
        if (call.error != 0) {
            harmless += isLengthKnown && seeksEnd && call.error == EINVAL;
            if (harmless != 1 || !seeksEnd || call.error != EINVAL)
                return true;
        }
        isLengthKnown |= seeksEnd;
    }
    return false;
}

// The bytes of the writes that succeeded.
std::size_t FileModel::BytesWritten(std::string const& object) const {
    std::size_t bytes = 0;
    for (LoggedCall const& call : trace.OthersBefore(calls.size()))
        if (call.name == "write" && call.object == object && call.error == 0)
            bytes += std::stoul(call.arguments);
    return bytes;
}

// Null where there is no entry, or where the directory is missing.
Entry const* FileModel::At(std::string const& path) const {
    std::string const directory = ScriptedAgent::requestDirectory;
    if (path.starts_with(directory + '/') && !entries.contains(directory))
        return nullptr;
    auto const found = entries.find(path);
    return found == entries.end() ? nullptr : &found->second;
}

FileModel::Seen FileModel::Look(std::string const& path) const {
    Entry const* entry = At(path);
    if (!entry)
        return Seen::nothing;
    if (entry->kind == Entry::symbolicLink)
        return At(entry->bytes) ? Seen::file : Seen::danglingLink;
    if (entry->kind == Entry::file)
        return Seen::file;
    return entry->kind == Entry::unixSocket ? Seen::other : Seen::directory;
}

FileModel::Seen FileModel::LookOrMiss(std::string const& path) const {
    return IsHit("lstat", ObjectOf(path)) ? Seen::nothing : Look(path);
}

bool FileModel::OpenLockFile() { return Open(ScriptedAgent::lockFile, false); }

bool FileModel::Open(std::string const& path, bool empties) {
    int const error = Call(empties ? "open RDWR|CREAT|TRUNC 666" : "open RDWR|CREAT 666");
    Entry const* const entry = At(path);
    std::string const& target = entry && entry->kind == Entry::symbolicLink ? entry->bytes : path;
    Entry const* const found = At(target);
    // A missing file can be created in an existing directory.
    bool const opens =
        found ? found->kind == Entry::file : target != Entry::nowhere && CanBeMade(target, entries);
    if (!opens || error != 0)
        return false;
    Call("setfd 1");
    if (empties || !found)
        entries[target] = Entry::File("");
    return true;
}

std::optional<std::string> FileModel::Read(std::string const& path) {
    int const error = Call("open RDONLY");
    Entry const* entry = At(path);
    if (entry && entry->kind == Entry::symbolicLink)
        entry = At(entry->bytes);
    if (!entry || entry->kind == Entry::unixSocket || error != 0)
        return std::nullopt;
    Call("setfd 1");
    // A directory can be opened, but not read.
    if (entry->kind != Entry::file || IsReadHit(ObjectOf(path)))
        return std::nullopt;
    return entry->bytes;
}

bool FileModel::Write(std::string const& path, std::string const& bytes) {
    if (!Open(path, true))
        return false;
    Entry& entry = entries[path];
    std::string& content = entries[entry.kind == Entry::symbolicLink ? entry.bytes : path].bytes;
    std::string const object = ObjectOf(path);
    if (IsHit("seek", object) || IsHit("write", object)) {
        content = bytes.substr(0, BytesWritten(object));
        return false;
    }
    content = bytes;
    return Call("fsync") == 0 && !IsHit("close", object);
}

// Deliberate: a refused rename counts as successful, except between file systems.
bool FileModel::Move(std::string const& from, std::string const& to) {
    if (Look(from) == Seen::nothing || Look(to) != Seen::nothing)
        return false;
    int const error = Call("rename " + from + ' ' + to);
    if (error == EXDEV)
        return Copy(from, to);
    if (error == 0) {
        entries[to] = entries[from];
        entries.erase(from);
        ++published;
    }
    return true;
}

// Each failure keeps the bytes that are already copied.
bool FileModel::Copy(std::string const& from, std::string const& to) {
    std::string const source = ObjectOf(from);
    std::string const target = ObjectOf(to);
    if (IsHit("lstat", source) || Call("open RDWR|CREAT|EXCL 666") != 0)
        return false;
    entries[to] = Entry::File("");
    ++published;
    Call("setfd 1");
    if (Call("open RDONLY") != 0)
        return false;
    Call("setfd 1");
    bool const isWriteHit =
        IsHit("seek", target) || IsHit("write", target) || IsHit("close", target);
    if (isWriteHit || IsReadHit(source)) {
        entries[to].bytes = entries[from].bytes.substr(0, BytesWritten(target));
        return false;
    }
    entries[to] = entries[from];
    if (Call("unlink " + from) != 0)
        return false;
    entries.erase(from);
    return true;
}

bool FileModel::ForceMove(std::string const& from, std::string const& to) {
    bool const isTargetMissed = Look(to) != Seen::nothing && IsHit("lstat", ObjectOf(to));
    if (LookOrMiss(from) == Seen::nothing || isTargetMissed)
        return false;
    if (Look(to) == Seen::nothing)
        return Move(from, to);
    bool const fromIsFile = Look(from) == Seen::file;
    bool const toIsFile = Look(to) == Seen::file;
    if (fromIsFile != toIsFile || !ForceNonexistence(to))
        return false;
    bool const isSourceMissed = IsHit("lstat", ObjectOf(from));
    return !isSourceMissed && Move(from, to);
}

bool FileModel::ForceNonexistence(std::string const& path) {
    Seen const seen = LookOrMiss(path);
    if (seen == Seen::file) {
        if (Call("unlink " + path) != 0)
            return false;
        entries.erase(path);
    } else if (seen == Seen::directory) {
        Call("rmdir " + path);
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
    // The bytes written so far are published nevertheless.
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
    int const error = Call(call);
    now += microseconds;
    if (act && error == 0)
        act();
}
