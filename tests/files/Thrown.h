// Describes the exception of an operation in one line of text to compare.
#pragma once

#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <typeinfo>

#include <cxxabi.h>

#include "files/FileErrors.h"

// Returns the part of a message that names the path: nothing for an empty path.
inline std::string On(std::string const& path) { return path.empty() ? "" : " on \"" + path + '"'; }

inline std::string NameOfClass(std::type_info const& type) {
    std::unique_ptr<char, void (*)(void*)> const name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, nullptr), &std::free);
    return name ? name.get() : type.name();
}

// Returns the class, the name of the code (none for 0) and the paths, such as `FileLockError EAGAIN
// on "/x"`. If the form of the message differs from that in files/FileErrors.h, returns
// "malformed: " and the message.
inline std::string Describe(FileIOError const& error) {
    int const code = error.GetCode();
    std::string const message = error.what();
    std::string const start = "File error \"" + std::string(typeid(error).name()) + '"';
    std::string const end =
        code == 0 ? "" : ": Error: " + std::to_string(code) + ": " + std::strerror(code);
    if (message.size() < start.size() + end.size() || !message.starts_with(start) ||
        !message.ends_with(end))
        return "malformed: " + message;
    char const* const known = strerrorname_np(code);
    return NameOfClass(typeid(error)) +
           (code == 0 ? "" : ' ' + (known ? std::string(known) : std::to_string(code))) +
           message.substr(start.size(), message.size() - start.size() - end.size());
}

// Runs the body. Returns the text of Describe for a file error, the class of any other exception,
// or "nothing" without an exception.
inline std::string Thrown(std::function<void()> const& body) {
    try {
        body();
    } catch (FileIOError const& error) {
        return Describe(error);
    } catch (...) {
        return NameOfClass(*abi::__cxa_current_exception_type());
    }
    return "nothing";
}
