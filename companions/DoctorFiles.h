// What stands at a place, and what this user may do there. Nothing is opened or changed.
#pragma once

#include <optional>
#include <string>

#include <sys/stat.h>

// Links are followed, as the exchange follows them.
class FileFacts {
public:
    explicit FileFacts(char const* path);

    // Whether something stands there. A broken link is nothing; what lies behind a directory that
    // this user may not search is unknown.
    bool Exists() const { return error == 0; }
    bool IsUnknown() const { return error != 0 && !IsMissing(); }
    bool IsMissing() const;
    // Whether it is a symbolic link, to something or to nothing.
    bool IsLink() const;
    bool IsBrokenLink() const { return !Exists() && IsLink(); }
    bool IsDirectory() const { return Exists() && S_ISDIR(facts.st_mode); }
    bool IsRegularFile() const { return Exists() && S_ISREG(facts.st_mode); }

    // Whether others than owner and group may remove and replace what anybody has put there.
    //
    // REQUIRES: Exists().
    bool IsOpenToOthers() const;

    // Of R_OK, W_OK and X_OK: 0, or why the effective user is refused (EACCES, EROFS).
    int Refusal(int rights) const;

    // "owned by user 0 and group 0, mode 0755".
    //
    // REQUIRES: Exists().
    std::string OwnerAndMode() const;
    // The system's words for why nothing is known.
    std::string Reason() const;
    // Since the last change of its content; negative if that lies in the future. Saturated.
    //
    // REQUIRES: Exists().
    long long AgeInSeconds() const;

    std::string const& Path() const { return path; }
    struct stat const& Facts() const {
        return facts;
    }

private:
    std::string const path;
    struct stat facts {};
    int error = 0;
};

// `end` - `start`, or the nearest value of the type.
long long SecondsBetween(long long start, long long end);

// "12 seconds old", "3 days old", or that it is dated in the future.
std::string DescribeAge(long long seconds);

// Whether the system refuses to open an existing file with O_CREAT, although its mode allows it: in
// a sticky directory that others may write to, the files of other users are protected (the setting
// fs.protected_regular; see proc(5)). Root is no exception.
bool IsProtectedByStickyDirectory(FileFacts const& file, FileFacts const& directory);
