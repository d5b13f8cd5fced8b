// A number that the body of a private machine, which is another process, hands out.
#pragma once

#include <cstddef>
#include <new>
#include <stdexcept>

#include <sys/mman.h>

namespace Torture {

class SharedCount {
public:
    SharedCount() : value(NewPage()) {}
    ~SharedCount() { munmap(value, sizeof *value); }
    SharedCount(SharedCount const&) = delete;
    SharedCount& operator=(SharedCount const&) = delete;

    void Add(std::size_t number) { *value += number; }
    std::size_t Value() const { return *value; }

private:
    static std::size_t* NewPage() {
        void* const page = mmap(nullptr, sizeof(std::size_t), PROT_READ | PROT_WRITE,
                                MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (page == MAP_FAILED)
            throw std::runtime_error("no shared memory");
        return new (page) std::size_t(0);
    }

    std::size_t* value;
};

} // namespace Torture
