#include "files/FileRetry.h"

#include "files/FileErrors.h"
#include "files/FileItem.h"
#include "files/FileLocation.h"
#include "files/FileOperations.h"
#include "files/FileWritingPath.h"
#include "files/MilliSecondSleep.h"

namespace {

constexpr unsigned int maxAttempts = 8;
constexpr unsigned int firstPause = 16; // milliseconds; each further pause is twice as long

// The arguments for the log.
struct Call {
    char const* name;
    FileLocation const* first;
    FileLocation const* second;
};

// Retries the operation after every exception except `NonRetryable`.
template <typename NonRetryable, typename Operation>
void Retry(Operation const& operation, Call const& call, FileRetryLog const& log) {
    unsigned int pause = firstPause;
    for (unsigned int attempt = 1;; ++attempt, pause *= 2) {
        try {
            operation();
            // GCOVR_EXCL_BR_START: not every instance of the template reaches the call
            if (attempt > 1)
                log.LogRetrySuccess(call.name, call.first, call.second, attempt);
            // GCOVR_EXCL_BR_STOP
            return;
        } catch (NonRetryable const&) {
            throw;
        } catch (...) {
            if (attempt == maxAttempts) {
                log.LogRetryFailure(call.name, call.first, call.second, attempt);
                throw;
            }
        }
        MilliSecondSleep(pause);
    }
}

// Never thrown, so every exception leads to a retry.
struct NoException {};

void ForceDirectoryExistenceForEveryone(FileLocation const& location) {
    ForceDirectoryExistence(location, DirectoryCreatingInfo{0777});
}

} // namespace

void FileRetryLog::LogRetrySuccess(char const*, FileLocation const*, FileLocation const*,
                                   unsigned int) const {}

void FileRetryLog::LogRetryFailure(char const*, FileLocation const*, FileLocation const*,
                                   unsigned int) const {}

void RunWithRetry(void (*operation)(FileLocation const&), char const* name,
                  FileLocation const& location, FileRetryLog const& log) {
    Retry<EmptyFileLocationError>([&] { operation(location); }, {name, &location, nullptr}, log);
}

void RunWithRetry(void (*operation)(FileLocation const&, DirectoryCreatingInfo const&),
                  char const* name, FileLocation const& location, DirectoryCreatingInfo const& info,
                  FileRetryLog const& log) {
    Retry<EmptyFileLocationError>([&] { operation(location, info); }, {name, &location, nullptr},
                                  log);
}

void RunWithRetry(void (*operation)(FileLocation const&, FileLocation const&), char const* name,
                  FileLocation const& from, FileLocation const& to, FileRetryLog const& log) {
    Retry<EmptyFileLocationError>([&] { operation(from, to); }, {name, &from, &to}, log);
}

void CreateFileWithRetry(FileLocation const& location, FileCreatingInfo const& info,
                         FileRetryLog const& log) {
    Retry<EmptyFileLocationError>([&] { CreateFile(location, info); },
                                  {"CreateFile", &location, nullptr}, log);
}

void CreateDirectoryWithRetry(FileLocation const& location, DirectoryCreatingInfo const& info,
                              FileRetryLog const& log) {
    RunWithRetry(CreateDirectory, "CreateDirectory", location, info, log);
}

void ForceDirectoryExistenceWithInfoWithRetry(FileLocation const& location,
                                              DirectoryCreatingInfo const& info,
                                              FileRetryLog const& log) {
    RunWithRetry(ForceDirectoryExistence, "ForceDirectoryExistenceWithInfo", location, info, log);
}

void ForceDirectoryExistenceWithRetry(FileLocation const& location, FileRetryLog const& log) {
    RunWithRetry(ForceDirectoryExistenceForEveryone, "ForceDirectoryExistence", location, log);
}

void CopyFileWithRetry(FileLocation const& from, FileLocation const& to, FileRetryLog const& log) {
    RunWithRetry(CopyFile, "CopyFile", from, to, log);
}

void ForceCopyFileWithRetry(FileLocation const& from, FileLocation const& to,
                            FileRetryLog const& log) {
    RunWithRetry(ForceCopyFile, "ForceCopyFile", from, to, log);
}

void MoveFileWithRetry(FileLocation const& from, FileLocation const& to, FileRetryLog const& log) {
    RunWithRetry(MoveFile, "MoveFile", from, to, log);
}

void ForceMoveFileWithRetry(FileLocation const& from, FileLocation const& to,
                            FileRetryLog const& log) {
    RunWithRetry(ForceMoveFile, "ForceMoveFile", from, to, log);
}

void DeleteFileWithRetry(FileLocation const& location, FileRetryLog const& log) {
    RunWithRetry(DeleteFile, "DeleteFile", location, log);
}

void DeleteDirectoryWithRetry(FileLocation const& location, FileRetryLog const& log) {
    RunWithRetry(DeleteDirectory, "DeleteDirectory", location, log);
}

void ForceNonexistenceWithRetry(FileLocation const& location, FileRetryLog const& log) {
    RunWithRetry(ForceNonexistence, "ForceNonexistence", location, log);
}

void FileWritingPath::FlushOnBrokenFilesystemsWithRetry(FileLocation const& where,
                                                        FileRetryLog const& log) const {
    Retry<NoException>([&] { FlushOnBrokenFilesystems(); },
                       {"FlushOnBrokenFilesystems", &where, nullptr}, log);
}

void FileItem::SetModificationTimeWithRetry(Instant time, FileRetryLog const& log) {
    FileLocation const where(Location());
    Retry<NoException>([&] { SetModificationTime(time); }, {"SetModificationTime", &where, nullptr},
                       log);
}
