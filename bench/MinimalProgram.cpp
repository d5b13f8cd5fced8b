// A minimal C++ program, linked like the tool. bench/whole_process.py compares the start and exit
// of the tool with it.
#include <cstdio>

int main() { std::puts("nothing more"); }
