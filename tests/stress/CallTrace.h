// The system calls of a program, as a model sees them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct LoggedCall {
    std::string name;
    std::string arguments;
    // The last component of the path.
    std::string object;
    // The error that was injected, or 0.
    int error = 0;
};

// Splits the calls into those that the model foretells, in their order, and the others, which may
// come in any number and order between them. The model foretells what the exchange specifies:
// files that are opened, marked close-on-exec, flushed, renamed and removed, and all sleeps. The
// others are transfers, positions, locks, look-ups of names and what is done in /proc.
class CallTrace {
public:
    CallTrace() = default;
    explicit CallTrace(std::vector<LoggedCall> const& calls) {
        for (LoggedCall const& call : calls) {
            if (!IsForetold(call)) {
                others.back().push_back(call);
                continue;
            }
            foretold.push_back(call.arguments.empty() ? call.name
                                                      : call.name + ' ' + call.arguments);
            errors.push_back(call.error);
            others.emplace_back();
        }
    }

    std::vector<std::string> const& Foretold() const { return foretold; }
    // The injected error of the foretold call of this number, from 0; or 0.
    int ErrorOf(std::size_t number) const { return number < errors.size() ? errors[number] : 0; }
    // The other calls before the foretold call of this number.
    std::vector<LoggedCall> const& OthersBefore(std::size_t number) const {
        static std::vector<LoggedCall> const none;
        return number < others.size() ? others[number] : none;
    }

private:
    static bool IsForetold(LoggedCall const& call) {
        for (char const* const name : {"read", "write", "seek", "close", "setlk", "lstat", "stat",
                                       "readlink", "opendir", "readdir", "closedir"})
            if (call.name == name)
                return false;
        // Those in /proc carry further flags.
        return call.name != "open" || !call.arguments.starts_with("RDONLY|");
    }

    std::vector<std::string> foretold;
    std::vector<int> errors;
    std::vector<std::vector<LoggedCall>> others = {{}};
};
