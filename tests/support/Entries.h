// What can stand under the names of the exchange, in memory and on the real disk.
#pragma once

#include <iosfwd>
#include <map>
#include <string>

#include "tests/support/AgentScript.h"

struct Entry {
    // A device is that of /dev/null, or a link to it where nobody may make one.
    enum Kind { nothing, file, directory, fullDirectory, symbolicLink, unixSocket, fifo, device };

    Kind kind = nothing;
    // Of a file its content. Of a link its target, which under a name of the exchange is one of the
    // two below.
    std::string bytes = {};

    bool operator==(Entry const&) const = default;

    static Entry File(std::string const& bytes) { return {file, bytes}; }
    static Entry Link(std::string const& target) { return {symbolicLink, target}; }

    // A file that is outside of the exchange, or nothing yet.
    static constexpr char const* elsewhere = "/opt/simulation/elsewhere";
    // There is no directory in which it could be made.
    static constexpr char const* nowhere = "/nowhere/at/all";
};

std::ostream& operator<<(std::ostream& out, Entry const& entry);

// By path; what is not there has no entry. The request directory has one of its own: when it is
// missing, the directory is out of the way, with all that is in it.
using Entries = std::map<std::string, Entry>;

// The link by which the agent's process is known, in a /proc made of files.
constexpr char const* agentLink = "/proc/7/exe";

// Whether the directory of the path is there.
bool CanBeMade(std::string const& path, Entries const& entries);

// Something that the agent does at a time, in microseconds: it puts the entry in the place of what
// stands there. Nothing happens below a directory that is not there.
struct Act {
    unsigned long long when = 0;
    std::string path;
    Entry entry;
};

void Do(Act const& act, Entries& entries);
// The steps that make the entry where there is none.
void AddSteps(AgentScript& script, std::string const& path, Entry const& entry);
// The act as steps of an agent. Some of them fail where the act changes nothing.
AgentScript ScriptOf(Act const& act);

// The real files.
void PlaceOnDisk(std::string const& path, Entry const& entry);
Entry EntryOnDisk(std::string const& path);
Entries ReadFromDisk();
