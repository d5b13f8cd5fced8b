#include "companions/DoctorCommandLine.h"

#include <array>

#include "companions/Arguments.h"

namespace {

constexpr std::array doctorOptionRules = {
    OptionRule{"--help", nullptr, 'h'},
    OptionRule{"--version", nullptr, 'V'},
    OptionRule{"--json"},
};

} // namespace

DoctorCommandLine ParseDoctorCommandLine(int count, char const* const* argumentTexts) {
    Arguments const arguments(doctorOptionRules, {}, count, argumentTexts);
    DoctorCommandLine result;
    result.json = arguments.Has("--json");
    if (arguments.Has("--help"))
        result.action = DoctorCommandLine::showHelp;
    else if (arguments.Has("--version"))
        result.action = DoctorCommandLine::showVersion;
    return result;
}

// clang-format off
char const doctorHelp[] =
    "Usage: compliance-doctor [--json]\n"
    "\n"
    "Checks what a compliance evaluation needs on this machine, and reports each\n"
    "problem with a remedy. It only reads: it creates no file, acquires no lock and\n"
    "sends no request to the agent. Run it as the user whose evaluations fail,\n"
    "because it checks the permissions of that user.\n"
    "\n"
    "Options:\n"
    "  --json                write one JSON document\n"
    "  -h, --help            show this help\n"
    "  -V, --version         show the version\n"
    "\n"
    "Verdicts:\n"
    "  ok        the check found no problem\n"
    "  note      the finding does not make evaluations fail\n"
    "  problem   the finding can make evaluations by this user fail, or makes them\n"
    "            unsafe\n"
    "  skipped   the check was not possible, because of a problem that another line\n"
    "            reports\n"
    "\n"
    "Checks:\n"
    "  agent-program            the program of the agent exists and is executable\n"
    "  agent-process            the agent is running\n"
    "  request-directory        the directory exists, and the user can write to it\n"
    "  request-directory-mode   other users cannot replace the documents\n"
    "  space                    there is disk space for a request\n"
    "  lock                     no other process holds the lock; the lock file is\n"
    "                           accessible\n"
    "  request                  no earlier request is waiting\n"
    "  temporary-request        a temporary request can be overwritten and renamed\n"
    "  response-directory       the directory exists, and the user can access it\n"
    "  response-directory-mode  other users cannot replace the documents\n"
    "  response                 a response can be read, and is not too large\n"
    "\n"
    "Exit statuses:\n"
    "    0  no problem was found\n"
    "    1  at least one problem was found, or the output could not be written\n"
    "    2  the command line is invalid\n"
    "\n"
    "Manual page: compliance-doctor(1)\n";
// clang-format on
