// The command line of compliance-doctor.
#pragma once

struct DoctorCommandLine {
    enum Action { examine, showHelp, showVersion };

    Action action = examine;
    bool json = false;
};

// Parses the arguments of main. Throws CommandLineError.
DoctorCommandLine ParseDoctorCommandLine(int count, char const* const* arguments);

// The output of --help.
extern char const doctorHelp[];
