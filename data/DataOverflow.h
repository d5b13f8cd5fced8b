// Thrown where a result does not fit into the bytes that its caller supplied.
#pragma once

#include "data/DebuggableException.h"

class DataOverflow : public DebuggableException {};
