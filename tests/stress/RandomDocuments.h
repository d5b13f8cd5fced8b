// Random readable responses with their content, and random bytes that are not a response.
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

// Returns bytes that are not a response: a part of a response, or other bytes.
std::string MakeGarbage(Random& random);
