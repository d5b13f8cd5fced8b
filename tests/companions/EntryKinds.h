// Kinds of directory entries, and the directories of the exchange in which tests place them.
//
// For the body of a Sandbox.
#pragma once

#include <sys/types.h>

#include "tests/companions/CompanionTest.h"
#include "tests/support/Entries.h"

// The ID of the user who runs the programs; see Sandbox::DropPrivileges.
constexpr uid_t userId = 65534;
constexpr char const* agentDirectory = "/var/opt/VeskaClient";
constexpr char const* responseDirectory = "/var/opt/VeskaClient/ResponseDir";

struct Kind {
    std::string name;
    std::function<void(std::string const& path)> make;
    // Whether the doctor must exit with 0, unless the entry is a request.
    bool isHealthy = false;
};

// Returns the kinds of entries for the path of a file.
std::vector<Kind> KindsOfEntries();
// Returns the kinds of entries for the path of a directory, including directories with these octal
// modes.
std::vector<Kind> KindsOfDirectories(Texts const& modes);

// Creates the directories of the exchange, without files.
void LayOut();
// Creates the directories again, with an entry of this kind at the path.
void Place(Kind const& kind, std::string const& path);
// Mounts /var/opt so that devices below it can be opened.
void MountForDevices();

// Runs a program as root, or without privileges.
ProgramResult RunAs(bool asUser, Texts const& command, ProgramOptions const& options = {});
// Returns the cause of the problem that a check of the doctor found, or an empty string.
std::string ProblemOf(std::string const& check, Json const& document);
