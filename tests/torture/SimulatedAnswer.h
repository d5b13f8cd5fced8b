// Random responses that can be read, and what they say.
#pragma once

#include <string>

#include "tests/torture/ExchangeModel.h"
#include "tests/torture/Random.h"

struct SimulatedAnswer {
    std::string bytes;
    ExchangeModel::Answer says;
};

// The children in any order, repeated, left out, among others that mean nothing; texts and numbers
// that are hard to read.
SimulatedAnswer MakeSimulatedAnswer(Random& random);

// Bytes that are no response: a part of one, or something else.
std::string MakeGarbage(Random& random);
