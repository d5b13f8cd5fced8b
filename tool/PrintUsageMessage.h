// The usage text.
#pragma once

// Prints it on standard output. The program's name in it is fixed, whatever it was started as.
void PrintUsageMessage();
