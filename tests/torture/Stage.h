// A model, an agent, and the real files beside them.
#pragma once

#include "tests/torture/ExchangeModel.h"
#include "tests/torture/FileModel.h"
#include "tests/torture/Random.h"
#include "tests/torture/Replay.h"
#include "tests/torture/SimulatedAgent.h"

// REQUIRES: the body of a private machine with a /proc made of files.
class Stage {
public:
    // The agent has laid out what stands there at first.
    Stage(Random& random, bool sparesLockFile);

    FileModel files;
    ExchangeModel model;
    SimulatedAgent agent;
    Replay replay;
};

// What differs between the model and the real thing, or nothing.
std::string Difference(Stage const& stage, std::string const& expected, std::string const& actual,
                       std::vector<std::string> const& calls);
