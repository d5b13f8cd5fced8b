// A value that may be absent, as a value: copying it copies what it holds.
//
// The value lives on the heap, so that an absent one costs a null pointer and `T` may be
// incomplete where a class with such a member is declared.
#pragma once

template <class T>
class NullOr {
public:
    NullOr() = default;
    NullOr(T const& source) : value(new T(source)) {}
    NullOr(NullOr const& source) : value(source.Duplicate()) {}
    ~NullOr() { delete value; }

    // The new copy is made before the old value goes: where copying throws, nothing has changed.
    NullOr& operator=(NullOr const& source);

    bool IsNull() const { return value == nullptr; }

    // REQUIRES: not IsNull(). A reference holds until the next assignment.
    T& operator*() { return *value; }
    T const& operator*() const { return *value; }
    T* operator->() { return value; }
    T const* operator->() const { return value; }

private:
    T* Duplicate() const { return value == nullptr ? nullptr : new T(*value); }

    T* value = nullptr;
};

static_assert(sizeof(NullOr<int>) == sizeof(int*), "an absent value costs one pointer");

template <class T>
NullOr<T>& NullOr<T>::operator=(NullOr const& source) {
    if (this != &source) {
        T* const old = value;
        value = source.Duplicate();
        delete old;
    }
    return *this;
}
