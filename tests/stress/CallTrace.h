// The recorded system calls of a program, for comparison with the model.
#pragma once

#include <string>
#include <vector>

struct LoggedCall {
    std::string name;
    std::string arguments;
    // The last component of the path.
    std::string object;
    // The injected error number, or 0.
    int error = 0;
};

// Divides the calls into those that the model predicts, in their order, and the others, which may
// occur in any number and order between them. Predicted are the calls that the exchange specifies:
// opening, close-on-exec, fsync, rename and removal of files, and all sleeps. The others are reads,
// writes, seeks, locks, path look-ups and all calls in /proc.
class CallTrace {
public:
    CallTrace() = default;
    explicit CallTrace(std::vector<LoggedCall> const& calls) {
        for (LoggedCall const& call : calls) {
            if (!IsPredicted(call)) {
                others.back().push_back(call);
                continue;
            }
            predicted.push_back(call.arguments.empty() ? call.name
                                                       : call.name + ' ' + call.arguments);
            errors.push_back(call.error);
            others.emplace_back();
        }
    }

    std::vector<std::string> const& Predicted() const { return predicted; }
    // Returns the injected error number of the predicted call with this index (from 0), or 0.
    int ErrorOf(std::size_t number) const { return number < errors.size() ? errors[number] : 0; }
    // Returns the other calls before the predicted call with this index.
    std::vector<LoggedCall> const& OthersBefore(std::size_t number) const {
        static std::vector<LoggedCall> const none;
        return number < others.size() ? others[number] : none;
    }

private:
    static bool IsPredicted(LoggedCall const& call) {
        for (char const* const name : {"read", "write", "seek", "close", "setlk", "lstat", "stat",
                                       "readlink", "opendir", "readdir", "closedir"})
            if (call.name == name)
                return false;
        // Files in /proc are opened with more flags.
        return call.name != "open" || !call.arguments.starts_with("RDONLY|");
    }

    std::vector<std::string> predicted;
    std::vector<int> errors;
    std::vector<std::vector<LoggedCall>> others = {{}};
};
