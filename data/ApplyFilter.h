// What a filter makes of a range.
#pragma once

#include <string>

#include "data/ConstData.h"

class DataFilter;

std::string ApplyFilter(ConstData data, DataFilter& filter);
