// The files of the exchange in the reference model, and the operations of the file layer on them.
//
// Shares no code with the product. Time is a number, which advances only in Sleep; then the agent
// may act.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/stress/CallTrace.h"
#include "tests/support/Entries.h"

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
    bool IsHit(std::string const& name, std::string const& object) const;

    Seen Look(std::string const& path) const;
    // As Look, but nothing if the call fails by injection.
    Seen LookOrMiss(std::string const& path) const;
    // Opens the lock file for reading and writing, and creates it if it is missing.
    bool OpenLockFile();
    // Returns nullopt if the document cannot be read.
    std::optional<std::string> Read(std::string const& path);
    // Writes a request and publishes it. Returns whether that succeeded.
    bool Publish(std::string const& request);
    void Sleep(unsigned int milliseconds);
    void Pass(std::string const& call, unsigned long long microseconds);

private:
    Entry const* At(std::string const& path) const;
    int Call(std::string const& text);
    bool Open(std::string const& path, bool empties);
    bool Write(std::string const& path, std::string const& bytes);
    bool Move(std::string const& from, std::string const& to);
    bool Copy(std::string const& from, std::string const& to);
    bool ForceMove(std::string const& from, std::string const& to);
    bool ForceNonexistence(std::string const& path);
    bool Retry(std::function<bool()> const& operation);
    bool IsReadHit(std::string const& object) const;
    std::size_t BytesWritten(std::string const& object) const;
};
