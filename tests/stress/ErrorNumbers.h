// The error numbers of each system call, from its manual page.
#pragma once

#include <cerrno>
#include <string>
#include <vector>

struct CallErrors {
    // The name of the call in SystemCalls and in the preloaded library.
    std::string_view call;
    std::vector<int> errors;
};

// One row for each call. Errors of a page that another one refers to ("or any error from open(2)")
// are included.
inline std::vector<CallErrors> const& ErrorNumbers() {
    static std::vector<int> const openErrors = {
        EACCES, EBADF,  EBUSY,   EDQUOT,     EEXIST,       EFAULT, EFBIG,   EOVERFLOW,  EINTR,
        EINVAL, EISDIR, ELOOP,   EMFILE,     ENAMETOOLONG, ENFILE, ENODEV,  ENXIO,      ENOENT,
        ENOMEM, ENOSPC, ENOTDIR, EOPNOTSUPP, EPERM,        EROFS,  ETXTBSY, EWOULDBLOCK};
    static std::vector<int> const mkdirErrors = {EACCES, EBADF,  EDQUOT,  EEXIST,       EFAULT,
                                                 EINVAL, ELOOP,  EMLINK,  ENAMETOOLONG, ENOENT,
                                                 ENOMEM, ENOSPC, ENOTDIR, EPERM,        EROFS};
    static std::vector<int> const statErrors = {EACCES,       EBADF,  EFAULT, EINVAL,  ELOOP,
                                                ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR, EOVERFLOW};
    static std::vector<CallErrors> const table = {
        {"open", openErrors},
        {"close", {EBADF, EINTR, EIO, ENOSPC, EDQUOT}},
        {"setfd", {EBADF, EINVAL}},
        {"setlk", {EACCES, EAGAIN, EBADF, EDEADLK, EFAULT, EINTR, EINVAL, ENOLCK}},
        {"seek", {EBADF, EINVAL, ENXIO, EOVERFLOW, ESPIPE}},
        {"read", {EAGAIN, EBADF, EFAULT, EINTR, EINVAL, EIO, EISDIR}},
        {"write",
         {EAGAIN, EBADF, EDESTADDRREQ, EDQUOT, EFAULT, EFBIG, EINTR, EINVAL, EIO, ENOSPC, EPERM,
          EPIPE}},
        {"fsync", {EBADF, EINTR, EIO, ENOSPC, EDQUOT, EROFS, EINVAL}},
        {"ftruncate", {EBADF, EFBIG, EINTR, EINVAL, EIO, EPERM, EROFS, ETXTBSY}},
        {"lstat", statErrors},
        {"stat", statErrors},
        {"access",
         {EACCES, EBADF, EFAULT, EINVAL, EIO, ELOOP, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR, EPERM,
          EROFS, ETXTBSY}},
        {"statvfs",
         {EACCES, EBADF, EFAULT, EINTR, EIO, ELOOP, ENAMETOOLONG, ENOENT, ENOMEM, ENOSYS, ENOTDIR,
          EOVERFLOW}},
        {"rename",
         {EACCES, EBUSY, EDQUOT, EFAULT, EINVAL, EISDIR, ELOOP, EMLINK, ENAMETOOLONG, ENOENT,
          ENOMEM, ENOSPC, ENOTDIR, ENOTEMPTY, EPERM, EROFS, EXDEV, EBADF, EEXIST}},
        {"unlink",
         {EACCES, EBUSY, EFAULT, EIO, EISDIR, ELOOP, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR, EPERM,
          EROFS, EBADF, EINVAL}},
        {"mkdir", mkdirErrors},
        {"rmdir",
         {EACCES, EBUSY, EFAULT, EINVAL, ELOOP, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR, ENOTEMPTY,
          EEXIST, EPERM, EROFS}},
        {"chmod",
         {EACCES, EBADF, EFAULT, EINVAL, EIO, ELOOP, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR, ENOTSUP,
          EPERM, EROFS}},
        {"utimes",
         {EACCES, EBADF, EFAULT, EINVAL, ELOOP, ENAMETOOLONG, ENOENT, ENOTDIR, EPERM, EROFS,
          ESRCH}},
        {"readlink",
         {EACCES, EBADF, EFAULT, EINVAL, EIO, ELOOP, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR}},
        {"opendir", {EACCES, EBADF, EMFILE, ENFILE, ENOENT, ENOMEM, ENOTDIR}},
        {"readdir", {EBADF, ENAMETOOLONG, EFAULT, EINVAL, ENOENT, ENOTDIR}},
        {"closedir", {EBADF}},
        {"scandir", {EACCES, EBADF, EMFILE, ENFILE, ENOENT, ENOMEM, ENOTDIR}},
        {"fopen", openErrors},
        {"mkstemp", openErrors},
        {"mkdtemp", mkdirErrors},
        // Both call nanosleep(2). Their results are ignored.
        {"sleep", {EINTR}},
        {"usleep", {EINTR, EINVAL}},
    };
    return table;
}

// Returns an empty list for a call without a row.
inline std::vector<int> const& ErrorsOf(std::string_view call) {
    static std::vector<int> const none;
    for (CallErrors const& row : ErrorNumbers())
        if (row.call == call)
            return row.errors;
    return none;
}
