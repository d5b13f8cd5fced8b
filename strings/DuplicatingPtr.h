// An owning pointer that copies what it points to when it is copied itself.
#pragma once

// Like a pointer, it passes no constness on to its object. `T` may be incomplete where a class with
// such a member is declared.
template <class T>
class DuplicatingPtr {
public:
    // Takes ownership of `source`, which came from `new` or is null.
    explicit DuplicatingPtr(T* source) : object(source) {}

    // Null stays null.
    DuplicatingPtr(DuplicatingPtr const& source)
        : object(source.object == nullptr ? nullptr : new T(*source.object)) {}

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
    T* object;
};
