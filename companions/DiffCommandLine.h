// The command line of compliance-diff.
#pragma once

#include <string>
#include <vector>

#include "companions/Color.h"

struct DiffCommandLine {
    enum Action { compare, showHelp, showVersion };

    Action action = compare;
    bool json = false;
    ColorMode color = ColorMode::automatic;
    // The list of --regressions; empty without that option.
    std::vector<std::string> goodResults = {};
    std::string oldFile = {};
    std::string newFile = {};
};

// Parses the arguments of main. Throws CommandLineError. With --help or --version, values are not
// checked, and operands may be missing.
DiffCommandLine ParseDiffCommandLine(int count, char const* const* arguments);

// The output of --help.
extern char const diffHelp[];
