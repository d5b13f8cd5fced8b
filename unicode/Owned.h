// An owner of a pointer with a disposer. Owns a buffer from its allocation until a string takes it.
//
// Allocate returns an Owned. The caller fills the buffer and moves the Owned into the string. If an
// exception is thrown before that, the Owned frees the buffer.
#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <new>
#include <utility>

// Stateless: calls the global operator new and operator delete.
template <class T>
struct Allocator {
    // Returns uninitialized memory for `count` elements. Throws std::bad_alloc.
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

// `P` is a pointer, and `D` releases it: `disposer(pointer)`. Move-only. A moved-from object has a
// null pointer and a default disposer.
template <class P, class D>
class Owned {
public:
    Owned() = default;
    Owned(P taken, D releasedBy) : disposer(std::move(releasedBy)), pointer(taken) {}

    Owned(Owned&& other) noexcept
        : disposer(std::exchange(other.disposer, D())), pointer(other.TakePointer()) {}
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

    // Returns the pointer and gives up its ownership.
    [[nodiscard]] P Release() {
        disposer = D();
        return TakePointer();
    }

private:
    P TakePointer() { return std::exchange(pointer, P()); }

    D disposer{};
    P pointer{}; // Null if there is nothing to release.
};

// The owner of an array; the disposer stores the number of elements.
template <class T>
using OwnedArray = Owned<T*, DisposeByAllocator<T>>;

// Returns uninitialized memory for `count` code units, with `count` in the disposer. The second
// argument is ignored. Throws std::bad_alloc.
template <class T>
requires std::same_as<T, char> || std::same_as<T, unsigned char> ||
    std::same_as<T, unsigned short> || std::same_as<T, unsigned int>
        OwnedArray<T> Allocate(unsigned long count, void* = nullptr) {
    return OwnedArray<T>(Allocator<T>().Allocate(count), DisposeByAllocator<T>{count});
}

// Takes ownership of `pointer`.
template <class P, class D>
Owned<P, D> Seize(P pointer, D disposer) {
    return Owned<P, D>(pointer, std::move(disposer));
}
