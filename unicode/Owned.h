// A raw pointer with one owner and its way of being released: how a buffer gets from the allocator
// to the string that keeps it.
//
// Ownership runs one way: Allocate gives an Owned; filled, it is moved to what keeps the buffer. If
// anything throws in between, the Owned frees it.
#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <new>
#include <utility>

// Without state: the plain global operator new and operator delete.
template <class T>
struct Allocator {
    // Uninitialised room for `count` elements. Throws std::bad_alloc.
    T* Allocate(std::uint64_t count) const {
        if (count > std::numeric_limits<std::size_t>::max() / sizeof(T))
            throw std::bad_array_new_length();
        return static_cast<T*>(::operator new(count * sizeof(T)));
    }

    void Free(T* array) const { ::operator delete(array); }
};

// Releases an array of `count` elements.
template <class T, class A = Allocator<T>>
struct DisposeByAllocator {
    void operator()(T* array) const { A().Free(array); }

    std::uint64_t count = 0;
};

// `P` is a pointer and `D` releases what it points to: `disposer(pointer)`. Moved only; what has
// been moved from is empty, its pointer null and its disposer as new.
template <class P, class D>
class Owned {
public:
    Owned() = default;
    Owned(P taken, D releasedBy) : disposer(std::move(releasedBy)), pointer(taken) {}

    Owned(Owned&& other) noexcept
        : disposer(std::exchange(other.disposer, D())), pointer(other.Yield()) {}
    Owned& operator=(Owned&& other) noexcept {
        Owned taken(std::move(other));
        std::swap(disposer, taken.disposer);
        std::swap(pointer, taken.pointer);
        return *this;
    }

    ~Owned() {
        if (pointer != P())
            disposer(pointer);
    }

    P Pointer() const { return pointer; }
    D const& Disposer() const { return disposer; }

    // Gives up the ownership and is empty from then on. The caller releases what it gets.
    [[nodiscard]] P Release() {
        disposer = D();
        return Yield();
    }

private:
    P Yield() { return std::exchange(pointer, P()); }

    D disposer{};
    P pointer{}; // Null when there is nothing to release.
};

// An array of units that is being handed on.
template <class T>
using OwnedArray = Owned<T*, DisposeByAllocator<T>>;

// Uninitialised room for `count` units, with `count` in the disposer. The second argument is a hint
// for the place, and is ignored. Throws std::bad_alloc.
template <class T>
requires std::same_as<T, char> || std::same_as<T, unsigned char> ||
    std::same_as<T, unsigned short> || std::same_as<T, unsigned int>
        OwnedArray<T> Allocate(unsigned long count, void* = nullptr) {
    return OwnedArray<T>(Allocator<T>().Allocate(count), DisposeByAllocator<T>{count});
}

// Wraps a pointer from elsewhere; nothing is copied.
template <class P, class D>
Owned<P, D> Seize(P pointer, D disposer) {
    return Owned<P, D>(pointer, std::move(disposer));
}
