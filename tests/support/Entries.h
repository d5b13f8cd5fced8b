// Directory entries at the paths of the exchange, as values and on disk.
#pragma once

#include <map>

#include "tests/support/AgentScript.h"

struct Entry {
    // `device` is that of /dev/null, or a link to /dev/null if the process may not create devices.
    enum Kind { nothing, file, directory, fullDirectory, symbolicLink, unixSocket, fifo, device };

    Kind kind = nothing;
    // The content of a file, or the target of a link. At a path of the exchange, the target is
    // `elsewhere` or `nowhere`.
    std::string bytes = {};

    bool operator==(Entry const&) const = default;

    static Entry File(std::string const& bytes) { return {file, bytes}; }
    static Entry Link(std::string const& target) { return {symbolicLink, target}; }

    // The path of a file outside of the exchange, which may not exist.
    static constexpr char const* elsewhere = "/opt/simulation/elsewhere";
    // A path whose directory does not exist.
    static constexpr char const* nowhere = "/nowhere/at/all";
};

std::ostream& operator<<(std::ostream& out, Entry const& entry);

// The existing entries by their paths. The request directory has an entry, too; without it, no
// entry in the directory exists.
using Entries = std::map<std::string, Entry>;

// The link to the program of the agent's process in a simulated /proc.
constexpr char const* agentLink = "/proc/7/exe";

// Returns whether the parent directory of the path exists.
bool CanBeMade(std::string const& path, Entries const& entries);

// A replacement of the entry at a path by the agent, at a time in microseconds. It has no effect if
// the parent directory does not exist.
struct Act {
    unsigned long long when = 0;
    std::string path;
    Entry entry;
};

void Do(Act const& act, Entries& entries);
// Returns the steps that perform the act. Some of them fail if the act has no effect.
AgentScript ScriptOf(Act const& act);

// Create and read the files on disk.
void PlaceOnDisk(std::string const& path, Entry const& entry);
Entry EntryOnDisk(std::string const& path);
Entries ReadFromDisk();
