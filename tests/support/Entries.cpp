#include "tests/support/Entries.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tests/support/Sandbox.h"
#include "tests/support/ScriptedAgent.h"

namespace {

constexpr char const* requestDirectory = ScriptedAgent::requestDirectory;
constexpr char const* hiddenDirectory = "/var/opt/VeskaClient/Hidden";
constexpr char const* directoryOfResponses = "/var/opt/VeskaClient/ResponseDir";

constexpr char const* kindNames[] = {"nothing", "file",   "directory", "full directory",
                                     "link",    "socket", "fifo",      "device"};

std::string Content(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Adds the steps that create the entry at a path without an entry.
void AddSteps(AgentScript& script, std::string const& path, Entry const& entry) {
    switch (entry.kind) {
    case Entry::nothing:
        break;
    case Entry::file:
        script.Write(path, entry.bytes);
        break;
    case Entry::symbolicLink:
        script.MakeLink(entry.bytes, path);
        break;
    case Entry::fullDirectory:
        script.MakeDirectory(path).MakeDirectory(path + "/inside");
        break;
    default:
        script.Make(kindNames[entry.kind], path);
    }
}

} // namespace

std::ostream& operator<<(std::ostream& out, Entry const& entry) {
    out << kindNames[entry.kind];
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

AgentScript ScriptOf(Act const& act) {
    AgentScript script;
    script.WaitUntil(std::chrono::microseconds(act.when));
    bool const isAway = act.entry.kind == Entry::nothing;
    if (act.path == requestDirectory)
        return isAway ? script.Move(act.path, hiddenDirectory)
                      : script.Move(hiddenDirectory, act.path);
    script.Clear(act.path);
    AddSteps(script, act.path, act.entry);
    return script;
}

void PlaceOnDisk(std::string const& path, Entry const& entry) {
    AgentScript const script = ScriptOf({0, path, entry});
    AgentEngine engine;
    engine.Play(script.text());
    engine.Advance(0);
    if (engine.Failures() != 0)
        throw std::runtime_error("cannot create " + path);
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
    for (char const* const path : {Entry::elsewhere, Sandbox::agentProgram, agentLink})
        if (Entry const entry = EntryOnDisk(path); entry.kind != Entry::nothing)
            entries[path] = entry;
    return entries;
}
