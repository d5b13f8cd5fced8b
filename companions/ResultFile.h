// Replaces a file atomically.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include <sys/types.h>

// what() is one line without the program's name: the path, which is not escaped, and either the
// failed operation with its error, or the reason why a ResultFile cannot have this path.
class ResultFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The template (mkostemp(3)) of the suffix of temporary files, which follows the name of the file.
constexpr std::string_view temporarySuffix = ".XXXXXX";

// Returns why a ResultFile cannot have this path, such as "is a directory", or an empty string.
std::string ReasonAgainstResultFile(std::string const& path);

// Publishes a file: the caller writes to a temporary file in the same directory, and Publish
// renames it to the path. At any time, the path has either the complete old content or the complete
// new content. If the process is killed, the temporary file may remain. Its name is the name of the
// file with a dot and six letters or digits appended.
//
// If the path is a symbolic link, its target is replaced. A link in a sticky, world-writable
// directory must be owned by the effective user or by the owner of the directory, as with
// fs.protected_symlinks (proc(5)).
class ResultFile {
public:
    // Creates the temporary file. Its mode is `mode`, by default 0666 less the umask. If the file
    // system refuses the default mode, the mode is 0600. Throws ResultFileError; also if the path
    // exists and is not a regular file. Not thread-safe: sets the umask to 0 for a moment to read
    // it.
    explicit ResultFile(std::string const& path, std::optional<mode_t> mode = {});
    // Removes the temporary file unless it was published.
    ~ResultFile();
    ResultFile(ResultFile const&) = delete;
    ResultFile& operator=(ResultFile const&) = delete;

    // Returns the descriptor of the temporary file, which this object closes.
    int Descriptor() const { return descriptor; }

    // Flushes the temporary file to disk (fsync(2)) and renames it. Throws ResultFileError; the
    // file at the path is unchanged then.
    void Publish();

private:
    std::string const target;
    std::string temporary;
    int descriptor;
};
