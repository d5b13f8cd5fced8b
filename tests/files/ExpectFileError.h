// Checks of what a file operation throws: the exact class, the code, and the names in the message.
#pragma once

#include <string>
#include <typeinfo>

#include <gtest/gtest.h>

#include "files/FileErrors.h"

// `names` is the part of the message with the names in it, such as R"( on "/x")"; empty for none.
template <class Error, class Body>
void ExpectFileError(int code, std::string const& names, Body body) {
    try {
        body();
        ADD_FAILURE() << "nothing was thrown";
    } catch (FileIOError const& error) {
        std::string message = "File error \"" + std::string(typeid(Error).name()) + "\"" + names;
        if (code != 0)
            message += ": " + MakeErrorString(static_cast<unsigned int>(code));
        EXPECT_EQ(error.GetCode(), code);
        EXPECT_EQ(error.what(), message);
    }
}

// Exactly this class, nothing derived from it.
template <class Error, class Body>
void ExpectExactly(Body body) {
    try {
        body();
        ADD_FAILURE() << "nothing was thrown";
    } catch (Error const& error) {
        EXPECT_EQ(std::string(typeid(error).name()), typeid(Error).name());
    }
}

inline std::string On(std::string const& path) { return " on \"" + path + "\""; }
