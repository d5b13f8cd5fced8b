// Two values side by side. In lists of attributes `first` is the name and `second` the value.
#pragma once

template <class A, class B>
struct Pair {
    Pair() : first(), second() {}
    Pair(A const& firstValue, B const& secondValue) : first(firstValue), second(secondValue) {}

    A first;
    B second;
};
