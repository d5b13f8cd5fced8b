// The least that a static C++ program is, linked as the tool: what bench/whole_process.py holds the
// tool's start and end against.
#include <cstdio>

int main() { std::puts("nothing more"); }
