// Random numbers from a seed: the same with every compiler and library.
#pragma once

#include <initializer_list>
#include <random>
#include <vector>

class Random {
public:
    explicit Random(unsigned long long seed) : engine(seed) {}

    // Returns a number from 0 to `limit` - 1.
    unsigned long long Below(unsigned long long limit) { return engine() % limit; }
    bool Chance(unsigned int percent) { return Below(100) < percent; }

    template <class T>
    T Pick(std::initializer_list<T> choices) {
        return choices.begin()[Below(choices.size())];
    }

    template <class T>
    void Shuffle(std::vector<T>& items) {
        for (size_t i = items.size(); i > 1; --i)
            std::swap(items[i - 1], items[Below(i)]);
    }

private:
    std::mt19937_64 engine;
};
