#include "files/FileReadingPath.h"

#include "tests/files/FileTest.h"

namespace {

// Exposes the fields.
class ReadingPath : public FileReadingPath {
public:
    using FileReadingPath::descriptor;
    using FileReadingPath::FileReadingPath;
    using FileReadingPath::lengthUnknown;
    using FileReadingPath::location;
};

class FileReadingPathTest : public OpenFileTest {
protected:
    FileLocation const missing = Here("missing");
    std::string const notFound = "FileNotFoundError ENOENT" + On(directory / "missing");
};

TEST_F(FileReadingPathTest, DefaultPathIsClosed) {
    ReadingPath const path;
    EXPECT_EQ(path.descriptor, -1);
    EXPECT_FALSE(path.lengthUnknown);
    EXPECT_EQ("FileNotOpenError", Thrown([&] { path.Length(); })) << "without a location";
}

static_assert(!std::is_copy_constructible_v<UnixPlatform::FileReadingPath>);
static_assert(!std::is_copy_assignable_v<UnixPlatform::FileReadingPath>);
static_assert(sizeof(FileReadingPath) == sizeof(UnixPlatform::FileReadingPath));
static_assert(UnixPlatform::FileReadingPath::unknownLength == ~0ULL);

// The destructor takes the first two slots.
TEST_F(FileReadingPathTest, OpenIsTheOnlyVirtualFunctionBesideTheDestructor) {
    using UnixPlatform::FileReadingPath;
    EXPECT_EQ(SlotOf(&FileReadingPath::OpenExisting), 2u);
    EXPECT_EQ(SlotOf(&FileReadingPath::Length), notVirtual);
    EXPECT_EQ(SlotOf(&FileReadingPath::Close), notVirtual);
    EXPECT_EQ(SlotOf(&FileReadingPath::ThrowError), notVirtual);
}

TEST_F(FileReadingPathTest, OpensReadOnlyAndCloseOnExec) {
    ReadingPath path;
    SystemCalls calls;
    path.OpenExisting(static_cast<UnixPlatform::FileLocation const&>(file));
    EXPECT_THAT(calls.Log(), ElementsAre("open RDONLY", "setfd 1"));
    EXPECT_EQ(DescriptorsOn(name), std::set<int>{path.descriptor});
    EXPECT_EQ(OpenFlagsOf(path.descriptor) & O_ACCMODE, O_RDONLY);
    EXPECT_TRUE(IsClosedOnExec(path.descriptor));
    EXPECT_STREQ(path.location.Text(), name.c_str());
    calls.Fail("setfd", EPERM); // The result is ignored.
    EXPECT_EQ(FileReadingPath(file).Length(), 10u);
}

TEST_F(FileReadingPathTest, FailedOpenNamesTheFileAndStaysClosed) {
    ReadingPath path;
    EXPECT_EQ(notFound, Thrown([&] { path.OpenExisting(missing); }));
    EXPECT_EQ(notFound, Thrown([&] { FileReadingPath{missing}; }));
    EXPECT_EQ(path.descriptor, -1);
    EXPECT_STREQ(path.location.Text(), missing.Text());
    EXPECT_EQ("FileNotFoundError ENOENT", Thrown([] { FileReadingPath{FileLocation()}; }));
    EXPECT_EQ("DirectoryNotFoundError ENOTDIR" + On(name + "/below"),
              Thrown([&] { FileReadingPath{file.Relative("below")}; }));
    ExpectMapped("open", MapperOf(path, file), [&] { FileReadingPath{file}; });
}

TEST_F(FileReadingPathTest, RejectsTheKernelLogCaseInsensitively) {
    for (char const* text : {"/proc/kmsg", "/PROC/KMSG", "/Proc/kMsg", "/proc/kmsg/"}) {
        ReadingPath path;
        SystemCalls calls;
        FileLocation const where = At(text);
        EXPECT_EQ("FileIOError" + On(where.Text()), Thrown([&] { path.OpenExisting(where); }));
        EXPECT_EQ("FileIOError" + On(where.Text()), Thrown([&] { FileReadingPath{where}; }));
        EXPECT_THAT(calls.Log(), IsEmpty());
        EXPECT_EQ(path.descriptor, -1);
        EXPECT_STREQ(path.location.Text(), where.Text());
        path.OpenExisting(file);
        EXPECT_THROW(path.OpenExisting(where), FileIOError);
        EXPECT_EQ(path.Length(), 10u) << "the open file stays open";
    }
    for (std::string const text :
         {"//proc/kmsg", "/proc/./kmsg", "/proc/kmsg2", "/proc/kms", "proc/kmsg"}) {
        SystemCalls calls;
        calls.Fail("open", EIO); // The real kernel log is not opened either.
        EXPECT_EQ("FileIOError EIO" + On(text), Thrown([&] { FileReadingPath{At(text)}; }));
    }
}

// Deliberate: see the contract.
TEST_F(FileReadingPathTest, SecondOpenLeaksTheFirstDescriptor) {
    for (bool const fails : {false, true}) {
        ReadingPath path(file);
        int const first = path.descriptor;
        EXPECT_EQ(fails ? notFound : "nothing",
                  Thrown([&] { path.OpenExisting(fails ? missing : file); }));
        EXPECT_NE(path.descriptor, first);
        EXPECT_EQ(path.descriptor == -1, fails);
        EXPECT_TRUE(DescriptorsOn(name).contains(first));
        path.Close();
        EXPECT_EQ(DescriptorsOn(name), std::set<int>{first});
        close(first);
    }
}

TEST_F(FileReadingPathTest, LengthIsTheCurrentOneAndKeepsThePosition) {
    ReadingPath const path(file);
    lseek(path.descriptor, 3, SEEK_SET);
    EXPECT_EQ(path.Length(), 10u);
    for (unsigned long long const length : {12ULL, 1ULL, 1ULL << 33}) {
        fs::resize_file(name, length);
        EXPECT_EQ(path.Length(), length);
    }
    EXPECT_EQ(lseek(path.descriptor, 0, SEEK_CUR), 3);
}

TEST_F(FileReadingPathTest, FileThatCannotSeekToItsEndHasAnUnknownLength) {
    auto const unknownLength = UnixPlatform::FileReadingPath::unknownLength;
    ReadingPath path(At("/proc/self/status"));
    lseek(path.descriptor, 7, SEEK_SET);
    EXPECT_EQ(path.Length(), unknownLength);
    EXPECT_TRUE(path.lengthUnknown);
    EXPECT_EQ(lseek(path.descriptor, 0, SEEK_CUR), 7);
    SystemCalls calls;
    EXPECT_EQ(path.Length(), unknownLength);
    EXPECT_THAT(calls.Log(), IsEmpty()) << "the length stays unknown";
    path.Close();
    EXPECT_EQ(path.Length(), unknownLength) << "also after closing";
    path.OpenExisting(file);
    EXPECT_EQ(path.Length(), unknownLength) << "also with another file";
}

TEST_F(FileReadingPathTest, OtherFailuresDoNotMakeTheLengthUnknown) {
    SystemCalls calls;
    EXPECT_EQ(FileReadingPath(file).Length(), 10u);
    Strings const seeks = calls.Log({"seek"});
    for (std::size_t seek = 0; seek < seeks.size(); ++seek)
        for (int error = 1; error <= EHWPOISON; ++error) {
            ReadingPath const path(file);
            bool const isUnknown = error == EINVAL && seeks[seek].ends_with("END");
            calls.Fail("seek", error, seek);
            EXPECT_EQ(isUnknown ? "nothing" : Thrown([&] { path.ThrowError(file, error); }),
                      Thrown([&] { path.Length(); }));
            EXPECT_EQ(isUnknown, path.lengthUnknown) << seeks[seek] << ' ' << error;
        }
}

TEST_F(FileReadingPathTest, ClosedPathMakesNoCallAndKeepsItsLocation) {
    ReadingPath path(file);
    path.Close();
    EXPECT_EQ(path.descriptor, -1);
    EXPECT_THAT(DescriptorsOn(name), IsEmpty());
    SystemCalls calls;
    path.Close();
    EXPECT_EQ("FileNotOpenError" + on, Thrown([&] { path.Length(); }));
    EXPECT_THAT(calls.Log(), IsEmpty());
}

TEST_F(FileReadingPathTest, FailedCloseIsReportedAndReleasesTheDescriptor) {
    ReadingPath path(file);
    close(path.descriptor);
    EXPECT_EQ("FileIOError EBADF" + on, Thrown([&] { path.Close(); }));
    EXPECT_EQ(path.descriptor, -1);
    ExpectMapped("close", MapperOf(path, file), [&] {
        path.OpenExisting(file);
        path.Close();
    });
    EXPECT_EQ(path.descriptor, -1);
}

TEST_F(FileReadingPathTest, DestructorClosesAndIgnoresAFailure) {
    { FileReadingPath const path(file); }
    EXPECT_THAT(DescriptorsOn(name), IsEmpty());
    SystemCalls calls;
    { FileReadingPath const path; }
    EXPECT_THAT(calls.Log(), IsEmpty()) << "nothing is open";
    calls.Fail("close", EIO);
    EXPECT_NO_THROW(FileReadingPath{file});
    EXPECT_EQ(1u, calls.Count("close"));
}

} // namespace
