#include <ctime>

#include <sys/time.h>

#include "files/FileOperations.h"
#include "tests/files/FileTest.h"

namespace {

using Copy = void (*)(FileLocation const&, FileLocation const&);

class FileCopiesTest : public FileTest {
protected:
    // Runs the body for CopyFile and ForceCopyFile, at first without a target.
    void ForBoth(std::function<void(Copy)> const& body) const {
        for (Copy copy : {CopyFile, ForceCopyFile}) {
            body(copy);
            fs::remove(to);
        }
    }

    // Expects this exception of a copy to a new target, and the description `left` of the target.
    void ExpectResult(Copy copy, std::string const& source, std::string const& error,
                      std::string const& left) const {
        EXPECT_EQ(error, ThrownBy(copy, source, to));
        EXPECT_EQ(DescribeEntry(to), left);
    }

    void ExpectBoth(std::string const& error, std::string const& source,
                    std::string const& left) const {
        ForBoth([&](Copy copy) { ExpectResult(copy, source, error, left); });
    }

    std::string const endOfFile = "FileReadingLoopEndOfFileError";
};

TEST_F(FileCopiesTest, CopyHasTheSameBytes) {
    std::mt19937 random(5);
    for (std::size_t const size : {0u, 1u, 4096u, 65'535u, 65'536u, 65'537u, 131'072u, 300'001u}) {
        std::string const content = RandomBytes(random, size, EveryByte());
        WriteWholeFile(from, content);
        ForBoth([&](Copy copy) {
            EXPECT_EQ(AllocationsOf([&, a = At(from), b = At(to)] { copy(a, b); }), 0u);
            EXPECT_TRUE(ReadWholeFile(to) == content) << size;
            EXPECT_TRUE(ReadWholeFile(from) == content) << size;
        });
    }
}

TEST_F(FileCopiesTest, CopiesChunksOf64KiBWithoutFsync) {
    WriteWholeFile(from, std::string(65'537, 'x'));
    SystemCalls calls;
    CopyFile(At(from), At(to));
    EXPECT_THAT(calls.Log({"open", "read", "write", "fsync"}),
                ElementsAre("open RDWR|CREAT|EXCL 666", "open RDONLY", "read 65536", "write 65536",
                            "read 1", "write 1"));
}

// Deliberate: neither the permissions nor the modification time are copied.
TEST_F(FileCopiesTest, CopyHasDefaultPermissionsAndTheCurrentTime) {
    Umask const umask(027);
    WriteWholeFile(from, "x");
    fs::permissions(from, fs::perms(0755));
    timeval const longAgo[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
    ASSERT_EQ(utimes(from.c_str(), longAgo), 0);
    timespec now = {};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    CopyFile(At(from), At(to));
    struct stat stats = {};
    ASSERT_EQ(stat(to.c_str(), &stats), 0);
    EXPECT_EQ(stats.st_mode & 07777, 0640u);
    EXPECT_GE(stats.st_mtim.tv_sec, now.tv_sec);
    ASSERT_EQ(stat(from.c_str(), &stats), 0);
    EXPECT_EQ(stats.st_mtim.tv_sec, 1'000'000'000);
    EXPECT_EQ(stats.st_mode & 07777, 0755u);
}

TEST_F(FileCopiesTest, OnlyRegularFilesAreCopied) {
    ForEach(everyKind, [&](std::string const& kind) {
        bool const isCopied = IsRegularFileKind(kind);
        ExpectBoth(isCopied ? "nothing" : "FileNotFoundError" + On(directory / kind),
                   directory / kind, isCopied ? "file content" : "nothing");
    });
    for (std::string const& source : {from, std::string("/dev/null")})
        ExpectBoth("FileNotFoundError" + On(source), source, "nothing");
}

// Deliberate: the target is removed before the source is opened.
TEST_F(FileCopiesTest, ForceCopyFileReplacesFilesLinksToThemAndEmptyDirectories) {
    std::map<std::string, std::string> const forced = {
        {"file", "nothing"},
        {"link to file", "nothing"},
        {"directory", "nothing"},
        {"full directory", "FileIOError ENOTEMPTY"},
        {"link to directory", "DirectoryNotFoundError ENOTDIR"}};
    ForEach(everyKind, [&](std::string const& kind) {
        WriteWholeFile(from, "new");
        std::string const on = On(directory / kind);
        Tree tree = Everything();
        EXPECT_EQ("FileExistsError" + on, ThrownBy(CopyFile, from, directory / kind));
        EXPECT_EQ(Everything(), tree);
        // For the other kinds, the exclusive open fails.
        std::string const error =
            forced.contains(kind) ? forced.at(kind) : "FileExistsError EEXIST";
        EXPECT_EQ(error == "nothing" ? error : error + on,
                  ThrownBy(ForceCopyFile, from, directory / kind));
        if (error == "nothing")
            tree[kind] = "file new";
        EXPECT_EQ(Everything(), tree) << "the target of a link is kept";
    });
    WriteWholeFile(from, "content");
    EXPECT_EQ("FileExistsError" + On(from), ThrownBy(CopyFile, from, from));
    EXPECT_EQ(DescribeEntry(from), "file content");
    ForceCopyFile(At(from), At(from));
    EXPECT_EQ(DescribeEntry(from), "file ")
        << "a file that is copied over itself loses its content";
}

TEST_F(FileCopiesTest, FailedCreationOfTheTargetReportsTheErrorOfTheSystem) {
    WriteWholeFile(from, "content");
    ForBoth([&](Copy copy) {
        EXPECT_EQ("FileNotFoundError ENOENT" + On(to + "/b"), ThrownBy(copy, from, to + "/b"));
        EXPECT_EQ("DirectoryNotFoundError ENOTDIR" + On(from + "/b"),
                  ThrownBy(copy, from, from + "/b"));
        SystemCalls calls;
        calls.Before("open", [&] { WriteWholeFile(to, "of another process"); });
        ExpectResult(copy, from, "FileExistsError EEXIST" + On(to), "file of another process");
    });
}

// The target is created before the source is opened, and is kept.
TEST_F(FileCopiesTest, KernelLogLeavesAnEmptyTarget) {
    Sandbox::Run([&] {
        if (!fs::is_regular_file("/proc/kmsg"))
            GTEST_SKIP() << "this system has no /proc/kmsg";
        ExpectBoth("FileIOError" + On("/proc/kmsg"), "/proc/kmsg", "file ");
    });
}

// Deliberate: the copy ends at the reported length only.
TEST_F(FileCopiesTest, UnknownOrExcessiveLengthIsCopiedWholeThenFails) {
    ExpectBoth(endOfFile, "/proc/version", DescribeEntry("/proc/version"));
    WriteWholeFile(from, std::string(100'000, 'x'));
    SystemCalls calls;
    calls.Before("write", [&] { fs::resize_file(from, 10); });
    EXPECT_EQ(endOfFile, ThrownBy(CopyFile, from, to));
    EXPECT_EQ(fs::file_size(to), 65'536u) << "also for a file that shrinks";
    fs::remove(to);
    if (!fs::exists(fileWithExcessiveLength))
        GTEST_SKIP() << "no " << fileWithExcessiveLength;
    ExpectBoth(endOfFile, fileWithExcessiveLength, DescribeEntry(fileWithExcessiveLength));
}

TEST_F(FileCopiesTest, FailureOfEachCallIsReportedAndBothFilesAreClosed) {
    WriteWholeFile(from, "content");
    for (auto const& [call, skip, named, left] :
         std::vector<std::tuple<std::string, std::size_t, std::string, std::string>>{
             {"open", 0, On(to), "nothing"},
             {"open", 1, On(from), "file "},
             {"read", 0, On(from), "file "},
             {"write", 0, "", "file "},
             {"close", 0, "", "file content"},
             {"close", 1, On(from), "file content"}}) {
        SCOPED_TRACE(call + std::to_string(skip));
        SystemCalls calls;
        calls.Fail(call, EIO, skip);
        ExpectResult(CopyFile, from, "FileIOError EIO" + named, left);
        EXPECT_THAT(DescriptorsOn(from), IsEmpty());
        EXPECT_THAT(DescriptorsOn(to), IsEmpty());
        fs::remove(to);
    }
}

} // namespace
