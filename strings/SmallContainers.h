// Small containers: a pair, an optional value on the heap, and a pointer that copies its object.
#pragma once

// Two values. In attribute lists, `first` is the name and `second` the value.
template <class A, class B>
struct Pair {
    Pair() : first(), second() {}
    Pair(A const& firstValue, B const& secondValue) : first(firstValue), second(secondValue) {}

    A first;
    B second;
};

// An optional value. Copies are deep.
//
// The value is on the heap, so `T` may be incomplete where a class with a NullOr member is
// declared.
template <class T>
class NullOr {
public:
    NullOr() = default;
    NullOr(T const& source) : value(new T(source)) {} // GCOVR_EXCL_BR_LINE: the copy may throw
    NullOr(NullOr const& source) : value(source.Duplicate()) {}
    ~NullOr() { delete value; }

    // Keeps the old value if copying the new one throws.
    NullOr& operator=(NullOr const& source);

    bool IsNull() const { return value == nullptr; }

    // REQUIRES: not IsNull(). References are valid until the next assignment or destruction.
    T& operator*() { return *value; }
    T const& operator*() const { return *value; }
    T* operator->() { return value; }
    T const* operator->() const { return value; }

private:
    T* Duplicate() const {
        if (value == nullptr)
            return nullptr;
        return new T(*value); // GCOVR_EXCL_BR_LINE: the copy may throw
    }

    T* value = nullptr;
};

static_assert(sizeof(NullOr<int>) == sizeof(int*), "an absent value takes the room of a pointer");

template <class T>
NullOr<T>& NullOr<T>::operator=(NullOr const& source) {
    if (this != &source) {
        T* const old = value;
        value = source.Duplicate();
        delete old;
    }
    return *this;
}

// An owning pointer. Its copy owns a copy of the object. As with a plain pointer, the object is
// writable even if the pointer is constant. `T` may be incomplete where a class with such a member
// is declared.
template <class T>
class DuplicatingPtr {
public:
    // Takes ownership of `source`, which is null or was allocated by `new`.
    explicit DuplicatingPtr(T* source) : object(source) {}

    // A copy of null is null.
    DuplicatingPtr(DuplicatingPtr const& source) {
        if (source.object != nullptr)
            object = new T(*source.object); // GCOVR_EXCL_BR_LINE: the copy may throw
    }

    DuplicatingPtr& operator=(DuplicatingPtr const&) = delete;

    virtual ~DuplicatingPtr() {
        delete object;
        object = nullptr;
    }

    bool IsNull() const { return object == nullptr; }

    // REQUIRES: not IsNull().
    T& operator*() const { return *object; }
    T* operator->() const { return object; }

private:
    T* object = nullptr;
};

// Returns an owner of a new, value-initialized object.
template <class T>
DuplicatingPtr<T> MakeDuplicatingPtr() {
    return DuplicatingPtr<T>(new T());
}
