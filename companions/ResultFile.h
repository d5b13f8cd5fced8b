// A file that has either its old content or the new one, whole.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include <sys/types.h>

// One line, without the program's name: the path, what failed, and the reason.
class ResultFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Returns why no result file can have this path, such as "is a directory"; nothing if one can.
std::string ReasonAgainstResultFile(std::string const& path);

// A temporary file in the directory of a file that it will replace. Where the path is a symbolic
// link, the target is replaced. A link of another user in a sticky directory that is writable by
// all is refused, unless the owner of the directory owns it. The mode is 0666 less the
// umask unless the caller chooses another one.
//
// A process that is killed leaves either file whole, and possibly the temporary file, whose name is
// that of the file with a dot and six characters added.
class ResultFile {
public:
    // Creates the temporary file, with the mode if there is one. Throws ResultFileError, also if
    // the path names an entry that is no regular file: a device or a directory is not replaced.
    explicit ResultFile(std::string const& path, std::optional<mode_t> mode = {});
    // Removes the temporary file unless it was published.
    ~ResultFile();
    ResultFile(ResultFile const&) = delete;
    ResultFile& operator=(ResultFile const&) = delete;

    // For writing. Belongs to this object.
    int Descriptor() const { return descriptor; }

    // Flushes what was written to the disk, and renames the temporary file. Throws ResultFileError;
    // the path then has what it had before.
    void Publish();

private:
    std::string const target;
    std::string temporary;
    int descriptor;
};
