// The common includes of the stress tests that run the real tool.
#pragma once

#include "tests/stress/TestCases.h"
#include "tests/system/ToolTest.h"
