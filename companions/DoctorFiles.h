// The state of a file and the permissions of the current user for it. Does not open the file, and
// modifies nothing.
#pragma once

#include <optional>
#include <string>

#include <sys/stat.h>

// The directory entry at a path (lstat(2)) and its target (stat(2)), both examined once, by the
// constructor. They differ only for a symbolic link.
class FileFacts {
public:
    explicit FileFacts(char const* path);

    // The directory entry.

    // There is no entry.
    bool IsAbsent() const { return IsNotFound(entryError); }
    // lstat(2) failed for another reason.
    bool IsUnexaminable() const { return entryError != 0 && !IsAbsent(); }
    bool IsLink() const { return entryError == 0 && S_ISLNK(entry.st_mode); }
    // True if the inode and its time of change (st_ctime) are the same, or if lstat(2) failed for
    // both with the same error.
    bool HasSameEntryAs(FileFacts const& other) const;

    // The target. The exchange follows symbolic links, too.

    bool Exists() const { return error == 0; }
    // There is no target: the entry is absent, or it is a dangling link.
    bool IsMissing() const { return IsNotFound(error); }
    // lstat(2) or stat(2) failed for another reason, for example a loop of symbolic links.
    bool IsUnknown() const { return error != 0 && !IsMissing(); }
    bool IsDirectory() const { return Exists() && S_ISDIR(facts.st_mode); }
    bool IsRegularFile() const { return Exists() && S_ISREG(facts.st_mode); }

    // True if all users can remove and replace the entries of this directory: it is writable by
    // others and not sticky.
    //
    // REQUIRES: Exists().
    bool IsOpenToOthers() const;

    // Returns 0 if the effective user has the rights (R_OK, W_OK, X_OK), or the error number of
    // faccessat(2), such as EACCES or EROFS.
    int Refusal(int rights) const;

    // Returns text such as "owned by user root and group 0, mode 0755".
    //
    // REQUIRES: Exists().
    std::string OwnerAndMode() const;
    // Returns the system's message for the error of lstat(2) or stat(2).
    std::string Reason() const;
    // Returns the action that solves the problem of Reason().
    //
    // REQUIRES: IsUnknown().
    std::string Remedy() const;
    // Returns the time since the last modification; negative if that is in the future. Saturates.
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

// Returns `end` - `start`, saturated.
long long SecondsBetween(long long start, long long end);

// Returns "12 seconds old", "3 days old", or "dated in the future" for a negative number.
std::string DescribeAge(long long seconds);

// True if the sticky bit of the directory prevents this user from renaming and removing the file.
// Root and the owners of the file and of the directory can do both.
bool IsKeptByStickyDirectory(FileFacts const& file, FileFacts const& directory);

// True if the kernel refuses to open the existing file with O_CREAT, whatever its mode
// (fs.protected_regular in proc(5)). The file then belongs neither to this user nor to the owner of
// its directory. The directory is sticky, and either world-writable with the setting 1 or 2, or
// group-writable with the setting 2. Applies to root, too.
bool IsProtectedByStickyDirectory(FileFacts const& file, FileFacts const& directory);
