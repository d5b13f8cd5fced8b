// Facts about a path, and what this user may do with it. Nothing is opened or changed.
#pragma once

#include <optional>
#include <string>

#include <sys/stat.h>

// A directory entry by lstat(2), and its target by stat(2). The two differ for a symbolic link
// only: the entry of a dangling link exists, and its target does not.
class FileFacts {
public:
    explicit FileFacts(char const* path);

    // Whether lstat(2) finds no entry.
    bool IsAbsent() const { return IsNotFound(entryError); }
    // Whether lstat(2) fails for another reason; nothing is known about the entry then.
    bool IsUnexaminable() const { return entryError != 0 && !IsAbsent(); }
    bool IsLink() const { return entryError == 0 && S_ISLNK(entry.st_mode); }
    // Whether both have the same entry, with the same inode unchanged in between, or both none.
    bool HasSameEntryAs(FileFacts const& other) const;

    // The target; symbolic links are followed, as the exchange follows them.
    bool Exists() const { return error == 0; }
    bool IsMissing() const { return IsNotFound(error); }
    bool IsUnknown() const { return error != 0 && !IsMissing(); }
    bool IsDirectory() const { return Exists() && S_ISDIR(facts.st_mode); }
    bool IsRegularFile() const { return Exists() && S_ISREG(facts.st_mode); }

    // Whether others than owner and group may remove and replace what anybody has put there.
    //
    // REQUIRES: Exists().
    bool IsOpenToOthers() const;

    // Of R_OK, W_OK and X_OK: 0, or why the effective user is refused (EACCES, EROFS).
    int Refusal(int rights) const;

    // "owned by user root and group 0, mode 0755"; a user without a name (UserName.h) is a number.
    //
    // REQUIRES: Exists().
    std::string OwnerAndMode() const;
    // The system's text for the error of lstat(2) or stat(2).
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
    static bool IsNotFound(int errorNumber);

    std::string const path;
    struct stat entry {};
    struct stat facts {};
    int entryError = 0;
    int error = 0;
};

// `end` - `start`, or the nearest value of the type.
long long SecondsBetween(long long start, long long end);

// "12 seconds old", "3 days old", or that it is dated in the future.
std::string DescribeAge(long long seconds);

// Whether a sticky directory keeps this user from renaming and removing the file: only root and the
// owners of the file and of the directory may.
bool IsKeptByStickyDirectory(FileFacts const& file, FileFacts const& directory);

// Whether the system refuses to open an existing file with O_CREAT, although its mode allows it: in
// a sticky directory that others may write to, the files of other users are protected (the setting
// fs.protected_regular; see proc(5)). Root is no exception.
bool IsProtectedByStickyDirectory(FileFacts const& file, FileFacts const& directory);
