// Random responses that can be read, and their content.
#pragma once

#include <string>

#include "tests/stress/ExchangeModel.h"
#include "tests/stress/Random.h"

struct RandomAnswer {
    std::string bytes;
    ExchangeModel::Answer says;
};

// The children are in any order, repeated or missing, among others without a meaning. Texts and
// numbers are hard to parse.
RandomAnswer MakeRandomAnswer(Random& random);

// Bytes that are not a response: a part of one, or others.
std::string MakeGarbage(Random& random);
