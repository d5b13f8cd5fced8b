// Runs a fuzz target on each file of its corpus, without libFuzzer: <program> DIRECTORY
//
// A violation terminates the process. The exit status is 1 if the corpus is empty.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz/Fuzz.h"

// Optional: a target may define it. Called before the first input.
extern "C" [[gnu::weak]] int LLVMFuzzerInitialize(int* count, char*** arguments);

namespace {

std::vector<unsigned char> ReadAll(std::filesystem::path const& file) {
    std::ifstream stream(file, std::ios::binary);
    return std::vector<unsigned char>(std::istreambuf_iterator<char>(stream), {});
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
        return 2;
    }
    if (LLVMFuzzerInitialize != nullptr)
        LLVMFuzzerInitialize(&argc, &argv);
    unsigned int count = 0;
    for (std::filesystem::directory_entry const& entry :
         std::filesystem::directory_iterator(argv[1])) {
        std::printf("%s\n", entry.path().c_str());
        std::fflush(stdout);
        std::vector<unsigned char> const input = ReadAll(entry.path());
        LLVMFuzzerTestOneInput(input.data(), input.size());
        ++count;
    }
    return count == 0 ? 1 : 0;
}
