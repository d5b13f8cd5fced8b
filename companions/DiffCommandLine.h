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
    // The results of --regressions; none means that it was not used.
    std::vector<std::string> goodResults = {};
    std::string oldFile = {};
    std::string newFile = {};
};

// Reads the arguments of main. --help and --version make all other arguments irrelevant, as long as
// each one is known. Throws CommandLineError.
DiffCommandLine ParseDiffCommandLine(int count, char const* const* arguments);

// What --help shows.
extern char const diffHelp[];
