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
    "Checks what a compliance evaluation needs on this machine, and reports each problem with a\n"
    "remedy. It only reads: it creates no file, takes no lock and sends nothing to the agent. Run it\n"
    "as the user whose evaluations fail, because it checks the permissions of that user.\n"
    "\n"
    "Each line is a verdict, the name of a check, and what was found:\n"
    "  ok        in order\n"
    "  note      worth knowing, but no evaluation fails because of it\n"
    "  problem   an evaluation by this user fails because of it, or is not safe\n"
    "  skipped   could not be checked, because of a problem that another line reports\n"
    "\n"
    "The checks:\n"
    "  agent-program            missing, not executable, or not accessible\n"
    "  agent-process            not running, only a zombie, running a program that was removed or\n"
    "                           replaced, running from another place, or known by its name only\n"
    "  request-directory        missing, no directory, not accessible, not writable (with owner and mode)\n"
    "  request-directory-mode   every user can replace the documents of others, or add some\n"
    "  space                    no room for a request\n"
    "  lock                     held (and by which process), not readable, not writable, protected,\n"
    "                           a link, no file\n"
    "  request                  one is waiting (and how old it is), it changed during the check, or\n"
    "                           something else is in its place\n"
    "  temporary-request        one is left over that can't be overwritten or renamed, or it is a link\n"
    "  response-directory       missing, no directory, not accessible, not readable\n"
    "  response-directory-mode  every user can replace the documents of others, or add some\n"
    "  response                 an old one is there (and how old it is), can't be read, is too large,\n"
    "                           or is a link\n"
    "\n"
    "Options:\n"
    "  --json         one JSON document; it follows compliance-doctor.schema.json\n"
    "  -h, --help     show this help\n"
    "  -V, --version  show the version\n"
    "\n"
    "Exit status:\n"
    "    0  no problem found\n"
    "    1  at least one problem found, or the findings could not be written\n"
    "    2  the command line is invalid\n";
// clang-format on
