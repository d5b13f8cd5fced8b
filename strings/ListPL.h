// A singly linked list with a built-in cursor: built once, then enumerated.
//
// A list, even a constant one, has one enumeration at a time and is not thread-safe, because the
// cursor is a member. Items cannot be removed one by one or accessed by index.
#pragma once

#include <cstdint>

#include "data/ExceptionPL.h"

// Thrown by ListPL::GetNext, always with the message "A ListPL iterator walked off the end of the
// list."
class NoMoreItemsException : public ExceptionPL {
public:
    NoMoreItemsException();
};

// Throws NoMoreItemsException. Not a member of the template, so that its code exists once.
[[noreturn]] void ThrowNoMoreItems();

// Calling sequence of an enumeration: ResetEnum, then IsNext and GetNext in turn. All three are
// const, because the cursor is not part of the list's value.
template <class T>
class ListPL {
public:
    ListPL() = default;
    ListPL(ListPL const&) = delete;
    ListPL& operator=(ListPL const&) = delete;
    virtual ~ListPL() { MakeEmpty(); }

    // Appends a copy of `item`, in constant time. Returns the copy, which the list owns until
    // MakeEmpty or the destruction of the list. If Append throws, the list is unchanged.
    //
    // The cursor does not move. An enumeration that has a next item reaches the new item. An
    // enumeration that has ended or was never begun does not.
    virtual T* Append(T const& item);

    // Moves the cursor to the first item.
    virtual void ResetEnum() const { enumCursor = firstNode; }

    // False at the end of an enumeration, and before the first one.
    bool IsNext() const { return enumCursor != nullptr; }

    // Returns the item at the cursor and advances the cursor. Throws NoMoreItemsException if
    // IsNext() is false.
    T const& GetNext() const;

    // Frees all items and ends the enumeration.
    void MakeEmpty();

private:
    struct Node {
        Node* next;
        T item;
    };

    std::uint32_t itemCount = 0;
    Node* firstNode = nullptr;
    Node* lastNode = nullptr;
    mutable Node* enumCursor = nullptr;
};

template <class T>
T* ListPL<T>::Append(T const& item) {
    Node* const node = new Node{nullptr, item}; // GCOVR_EXCL_BR_LINE: the copy may throw
    if (lastNode == nullptr)
        firstNode = node;
    else
        lastNode->next = node;
    lastNode = node;
    ++itemCount;
    return &node->item;
}

template <class T>
T const& ListPL<T>::GetNext() const {
    if (enumCursor == nullptr)
        ThrowNoMoreItems();
    Node const* const node = enumCursor;
    enumCursor = node->next;
    return node->item;
}

template <class T>
void ListPL<T>::MakeEmpty() {
    for (Node* node = firstNode; node != nullptr;) {
        Node* const next = node->next;
        delete node; // GCOVR_EXCL_BR_LINE: never null
        node = next;
    }
    itemCount = 0;
    firstNode = lastNode = enumCursor = nullptr;
}
