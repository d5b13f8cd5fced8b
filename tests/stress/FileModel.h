// The files of the exchange in the reference model, and the operations of the file layer on them.
//
// Shares no code with the product. Time is a number, which advances only in Sleep; then the agent
// may act.
#pragma once

#include <algorithm>
#include <cerrno>
#include <functional>
#include <optional>

#include "tests/stress/CallTrace.h"
#include "tests/support/Entries.h"
#include "tests/support/ScriptedAgent.h"

class FileModel {
public:
    // The entry at a path; a link is followed.
    enum class Seen { nothing, file, directory, other, danglingLink };

    Entries entries;
    // The time in microseconds.
    unsigned long long now = 0;
    // The predicted calls so far, in the format of CallTrace.
    std::vector<std::string> calls;
    // The calls of the real program, which specify where an error was injected. Not how many calls
    // of a kind it makes between two predicted ones.
    CallTrace trace;
    // The number of published requests.
    unsigned int published = 0;
    // Called for the agent when a sleep begins, and when time has passed.
    std::function<void()> notice;
    std::function<void()> act;

    // Returns whether a call of this name on this object fails by injection between the predicted
    // calls.
    bool IsHit(std::string const& name, std::string const& object) const {
        auto const& others = trace.OthersBefore(calls.size());
        return std::any_of(others.begin(), others.end(), [&](LoggedCall const& call) {
            return call.name == name && call.object == object && call.error != 0;
        });
    }

    Seen Look(std::string const& path) const {
        Entry const* entry = At(path);
        if (!entry)
            return Seen::nothing;
        if (entry->kind == Entry::symbolicLink)
            return At(entry->bytes) ? Seen::file : Seen::danglingLink;
        if (entry->kind == Entry::file)
            return Seen::file;
        return entry->kind == Entry::unixSocket ? Seen::other : Seen::directory;
    }

    // As Look, but nothing if the call fails by injection.
    Seen LookOrMiss(std::string const& path) const {
        return IsHit("lstat", ObjectOf(path)) ? Seen::nothing : Look(path);
    }

    // Opens the lock file for reading and writing, and creates it if it is missing.
    bool OpenLockFile() { return Open(ScriptedAgent::lockFile, false); }

    // Returns nullopt if the document cannot be read.
    std::optional<std::string> Read(std::string const& path) {
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

    // Writes a request and publishes it. Returns whether that succeeded.
    bool Publish(std::string const& bytes) {
        auto const move = [this] {
            return ForceMove(ScriptedAgent::requestTemp, ScriptedAgent::request);
        };
        if (Write(ScriptedAgent::requestTemp, bytes) && Retry(move))
            return true;
        // The bytes written so far are published nevertheless.
        if (!Retry(move))
            Retry([this] { return ForceNonexistence(ScriptedAgent::requestTemp); });
        return false;
    }

    void Sleep(unsigned int milliseconds) {
        if (notice)
            notice();
        unsigned int const seconds = milliseconds / 1000;
        unsigned int const rest = milliseconds % 1000 * 1000;
        if (seconds != 0)
            Pass("sleep " + std::to_string(seconds), seconds * 1'000'000ull);
        Pass("usleep " + std::to_string(rest), rest);
    }

    void Pass(std::string const& call, unsigned long long microseconds) {
        int const error = Call(call);
        now += microseconds;
        if (act && error == 0)
            act();
    }

private:
    static std::string ObjectOf(std::string const& path) {
        return path.substr(path.rfind('/') + 1);
    }

    // Null where there is no entry, or where the directory is missing.
    Entry const* At(std::string const& path) const {
        std::string const directory = ScriptedAgent::requestDirectory;
        if (path.starts_with(directory + '/') && !entries.contains(directory))
            return nullptr;
        auto const found = entries.find(path);
        return found == entries.end() ? nullptr : &found->second;
    }

    // Records a predicted call. Returns its injected error, or 0.
    int Call(std::string const& text) {
        calls.push_back(text);
        return trace.ErrorOf(calls.size() - 1);
    }

    bool Open(std::string const& path, bool empties) {
        int const error = Call(empties ? "open RDWR|CREAT|TRUNC 666" : "open RDWR|CREAT 666");
        Entry const* const entry = At(path);
        std::string const& target =
            entry && entry->kind == Entry::symbolicLink ? entry->bytes : path;
        Entry const* const found = At(target);
        // A missing file can be created in an existing directory.
        bool const opens = found ? found->kind == Entry::file
                                 : target != Entry::nowhere && CanBeMade(target, entries);
        if (!opens || error != 0)
            return false;
        Call("setfd 1");
        if (empties || !found)
            entries[target] = Entry::File("");
        return true;
    }

    bool Write(std::string const& path, std::string const& bytes) {
        if (!Open(path, true))
            return false;
        Entry& entry = entries[path];
        std::string& content =
            entries[entry.kind == Entry::symbolicLink ? entry.bytes : path].bytes;
        std::string const object = ObjectOf(path);
        if (IsHit("seek", object) || IsHit("write", object)) {
            content = bytes.substr(0, BytesWritten(object));
            return false;
        }
        content = bytes;
        return Call("fsync") == 0 && !IsHit("close", object);
    }

    // Deliberate: a refused rename counts as successful, except between file systems.
    bool Move(std::string const& from, std::string const& to) {
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
    bool Copy(std::string const& from, std::string const& to) {
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

    bool ForceMove(std::string const& from, std::string const& to) {
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

    bool ForceNonexistence(std::string const& path) {
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

    bool Retry(std::function<bool()> const& operation) {
        for (unsigned int attempt = 1, pause = 16; !operation(); ++attempt, pause *= 2) {
            if (attempt == 8)
                return false;
            Sleep(pause);
        }
        return true;
    }

    // A seek to the end that fails with EINVAL makes the length of the file unknown. If the length
    // was known before, one such failure has no effect; otherwise the end of the file is an error.
    bool IsReadHit(std::string const& object) const {
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
    std::size_t BytesWritten(std::string const& object) const {
        std::size_t bytes = 0;
        for (LoggedCall const& call : trace.OthersBefore(calls.size()))
            if (call.name == "write" && call.object == object && call.error == 0)
                bytes += std::stoul(call.arguments);
        return bytes;
    }
};
