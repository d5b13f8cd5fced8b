// A value that counts its living instances, and whose copy constructor can throw.
#pragma once

struct Counted {
    struct CopyRefused {};

    explicit Counted(int number = 0) : value(number) { ++alive; }
    Counted(Counted const& source) : value(source.value) {
        if (refuseCopies)
            throw CopyRefused();
        ++alive;
        ++copies;
    }
    Counted& operator=(Counted const&) = delete;
    ~Counted() { --alive; }

    static void Reset() {
        alive = copies = 0;
        refuseCopies = false;
    }

    int value;

    inline static int alive = 0;
    inline static int copies = 0;
    inline static bool refuseCopies = false;
};
