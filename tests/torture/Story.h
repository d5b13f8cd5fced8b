// A caller of the five functions and an agent, both of whims, call by call on the model and then on
// the real library with real files.
#pragma once

#include <set>
#include <string>

// What has happened in stories, as "Open = -5".
using Outcomes = std::set<std::string>;

// A check that fails names the seed. The outcomes of a story with a foreign lock are not told.
//
// REQUIRES: the body of a private machine with a /proc made of files.
void TellStory(unsigned long long seed, Outcomes& outcomes);
