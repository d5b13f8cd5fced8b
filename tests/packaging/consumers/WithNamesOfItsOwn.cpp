// A C++ program whose classes have names of the foundation library. It throws its own exceptions
// before and after it uses the C API. With an argument it runs out of memory in the C API.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include <compliance/Compliance.h>

#include "OwnNames.h"

namespace {

std::size_t largestBlock = ~std::size_t{0};

void ThrowAndCatch(char const* when) {
    try {
        CreateFile(when);
    } catch (DataOverflow const& caught) {
        std::printf("caught %s\n", caught.what());
    }
    try {
        std::printf("at %d\n", FileName().at(1000));
    } catch (std::out_of_range const&) {
        std::printf("caught out_of_range after %zu\n", FileName().size());
    }
}

int RunOutOfMemory() {
    std::string const url(10000, 'u');
    largestBlock = 5000;
    try {
        std::printf("open %d\n", COMPLIANCE_Open(url.c_str(), "doc.xml", 0));
    } catch (std::bad_alloc const&) {
        std::printf("caught bad_alloc\n");
    }
    return 0;
}

} // namespace

void* operator new(std::size_t size) {
    void* const block = size <= largestBlock ? std::malloc(size) : nullptr;
    if (!block)
        throw std::bad_alloc();
    return block;
}

void operator delete(void* block) noexcept { std::free(block); }

void operator delete(void* block, std::size_t) noexcept { std::free(block); }

int main(int count, char** arguments) {
    if (count == 2 && std::strcmp(arguments[1], "no-memory") == 0)
        return RunOutOfMemory();
    ThrowAndCatch("before");
    std::printf("open %d\n", COMPLIANCE_Open("http://example.com:52311/", "doc.xml", 0));
    ThrowAndCatch("after");
    std::printf("%s, %zu\n", FileLocation(7).Describe().c_str(), GrowResponseItems(100));
    std::printf("close %d\n", COMPLIANCE_Close());
    return 0;
}
