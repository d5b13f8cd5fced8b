// The command line of compliance-doctor.
#pragma once

struct DoctorCommandLine {
    enum Action { examine, showHelp, showVersion };

    Action action = examine;
    bool json = false;
};

// Reads the arguments of main. Throws CommandLineError.
DoctorCommandLine ParseDoctorCommandLine(int count, char const* const* arguments);

// What --help shows.
extern char const doctorHelp[];
