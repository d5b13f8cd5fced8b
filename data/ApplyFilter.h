// What a filter makes of a range, with all that it holds back at the end.
#pragma once

#include <string>

#include "data/ConstData.h"

class DataFilter;

std::string ApplyFilter(ConstData data, DataFilter& filter);
