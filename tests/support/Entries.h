// The kinds of entries at the paths of the exchange, in memory and on the real disk.
#pragma once

#include <iosfwd>
#include <map>
#include <string>

#include "tests/support/AgentScript.h"

struct Entry {
    // A device is that of /dev/null, or a link to it where the process may not create one.
    enum Kind { nothing, file, directory, fullDirectory, symbolicLink, unixSocket, fifo, device };

    Kind kind = nothing;
    // The content of a file. Or the target of a link, which at a path of the exchange is one of the
    // two below.
    std::string bytes = {};

    bool operator==(Entry const&) const = default;

    static Entry File(std::string const& bytes) { return {file, bytes}; }
    static Entry Link(std::string const& target) { return {symbolicLink, target}; }

    // A file outside of the exchange, or no entry yet.
    static constexpr char const* elsewhere = "/opt/simulation/elsewhere";
    // A path whose directory does not exist.
    static constexpr char const* nowhere = "/nowhere/at/all";
};

std::ostream& operator<<(std::ostream& out, Entry const& entry);

// By path; a missing entry is not included. The request directory has its own entry: if that is
// missing, so are all entries in it.
using Entries = std::map<std::string, Entry>;

// The link that identifies the agent's process, in a /proc made of files.
constexpr char const* agentLink = "/proc/7/exe";

// Whether the directory of the path exists.
bool CanBeMade(std::string const& path, Entries const& entries);

// An act of the agent at a time in microseconds: replaces the entry at the path. Has no effect
// below a directory that does not exist.
struct Act {
    unsigned long long when = 0;
    std::string path;
    Entry entry;
};

void Do(Act const& act, Entries& entries);
// The steps that create the entry where there is none.
void AddSteps(AgentScript& script, std::string const& path, Entry const& entry);
// The act as steps of an agent. Some of them fail if the act has no effect.
AgentScript ScriptOf(Act const& act);

// The real files.
void PlaceOnDisk(std::string const& path, Entry const& entry);
Entry EntryOnDisk(std::string const& path);
Entries ReadFromDisk();
