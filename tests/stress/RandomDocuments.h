// Random responses that can be read, and what they say.
#pragma once

#include <string>

#include "tests/stress/ExchangeModel.h"
#include "tests/stress/Random.h"

struct RandomAnswer {
    std::string bytes;
    ExchangeModel::Answer says;
};

// The children are in any order, repeated or missing, among others without a meaning. Texts and
// numbers are hard to read.
RandomAnswer MakeRandomAnswer(Random& random);

// Bytes that are no response: a part of one, or something else.
std::string MakeGarbage(Random& random);
