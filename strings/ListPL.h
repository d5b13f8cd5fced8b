// A singly linked list that carries its own enumeration cursor: built once, then walked.
//
// It has no operation to remove one item or to reach one by its index. Since the cursor lives in
// the list, a list, even a read-only one, has one enumeration at a time and belongs to one thread.
#pragma once

#include <cstdint>

#include "data/ExceptionPL.h"

// Told by ListPL::GetNext. Its text is always the same: "A ListPL iterator walked off the end of
// the list."
class NoMoreItemsException : public ExceptionPL {
public:
    NoMoreItemsException();
};

// Here, so that the code which throws is not repeated for each type of item.
[[noreturn]] void ThrowNoMoreItems();

// Calling sequence of an enumeration: ResetEnum, then IsNext and GetNext in turn. These three are
// read-only to the caller: the cursor is no part of the list's value.
template <class T>
class ListPL {
public:
    ListPL() = default;
    ListPL(ListPL const&) = delete;
    ListPL& operator=(ListPL const&) = delete;
    virtual ~ListPL() { MakeEmpty(); }

    // Copies `item` to the end, in constant time. Yields the copy, which the list owns and which
    // stays in its place until MakeEmpty. Where copying throws, the list is unchanged.
    //
    // The cursor stays: an enumeration that stands at an item will reach the new one, one that has
    // run out or was never begun will not.
    virtual T* Append(T const& item);

    // Begins the enumeration at the first item.
    virtual void ResetEnum() const { enumCursor = firstNode; }

    // False at the end of the enumeration, and if none was begun.
    bool IsNext() const { return enumCursor != nullptr; }

    // Yields the item at the cursor and moves on. Throws NoMoreItemsException where IsNext() is
    // false.
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
    Node* const node = new Node{nullptr, item};
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
        delete node;
        node = next;
    }
    itemCount = 0;
    firstNode = lastNode = enumCursor = nullptr;
}
