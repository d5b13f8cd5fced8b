#include "files/FileWritingPath.h"

#include "tests/files/FileTest.h"

namespace {

// Exposes the fields.
class WritingPath : public FileWritingPath {
public:
    using FileWritingPath::descriptor;
    using FileWritingPath::FileWritingPath;
    using FileWritingPath::location;
};

struct OpenMode {
    char const* name;
    void (UnixPlatform::FileWritingPath::*open)(UnixPlatform::FileLocation const&);
    std::unique_ptr<FileWritingPath> (*construct)(FileLocation const&);
    std::string call;
    // The results for an existing and a missing file: the content, or the exception.
    std::string existing;
    std::string missing;
};

using W = FileWritingPath;

template <class... Tag>
std::unique_ptr<W> Constructed(FileLocation const& where) {
    return std::make_unique<W>(where, Tag()...);
}

OpenMode const openModes[] = {
    {"OpenExisting", &W::OpenExisting, Constructed<W::OpenExistingFile>, "open RDWR", "0123456789",
     "FileNotFoundError ENOENT"},
    {"OpenExistingOrNew", &W::OpenExistingOrNew, Constructed<W::OpenExistingFileOrNewFile>,
     "open RDWR|CREAT 666", "0123456789", ""},
    {"OpenNew", &W::OpenNew, Constructed<W::OpenNewFile>, "open RDWR|CREAT|EXCL 666",
     "FileExistsError EEXIST", ""},
    {"OpenNewOrAsNew", &W::OpenNewOrAsNew, Constructed<W::OpenNewFileOrAsNewFile>,
     "open RDWR|CREAT|TRUNC 666", "", ""},
};

class FileWritingPathTest : public OpenFileTest {
protected:
    // Runs the body for each mode, with a location that this mode can open.
    void ForEachMode(std::function<void(OpenMode const&, FileLocation const&)> const& body) {
        for (OpenMode const& mode : openModes) {
            SCOPED_TRACE(mode.name);
            body(mode, mode.missing.empty() ? newFile : file);
            fs::remove(newName);
        }
    }

    std::string const newName = directory / "new";
    FileLocation const newFile = At(newName);
};

static_assert(sizeof(W) == sizeof(UnixPlatform::FileReadingPath));
static_assert(std::is_base_of_v<UnixPlatform::FileWritingPath, W>);
static_assert(std::is_empty_v<W::OpenExistingFile> && std::is_empty_v<W::OpenNewFile>);
static_assert(std::is_empty_v<W::OpenExistingFileOrNewFile>);
static_assert(std::is_empty_v<W::OpenNewFileOrAsNewFile>);

// Deliberate: the object does not record the location; see the contract.
TEST_F(FileWritingPathTest, EachModeOpensForReadingAndWriting) {
    ForEachMode([&](OpenMode const& mode, FileLocation const& where) {
        WritingPath path;
        SystemCalls calls;
        (path.*mode.open)(where);
        EXPECT_THAT(calls.Log(), ElementsAre(mode.call, "setfd 1"));
        EXPECT_EQ(DescriptorsOn(where.Text()), std::set<int>{path.descriptor});
        EXPECT_EQ(OpenFlagsOf(path.descriptor) & O_ACCMODE, O_RDWR);
        EXPECT_TRUE(IsClosedOnExec(path.descriptor));
        EXPECT_STREQ(path.location.Text(), "");
    });
}

TEST_F(FileWritingPathTest, TagSelectsTheModeOfTheConstructor) {
    ForEachMode([](OpenMode const& mode, FileLocation const& where) {
        SystemCalls calls;
        mode.construct(where);
        EXPECT_EQ(calls.Log().front(), mode.call);
    });
    SystemCalls calls;
    FileWritingPath{file};
    EXPECT_EQ(calls.Log().front(), "open RDWR");
}

TEST_F(FileWritingPathTest, EachModeKeepsTruncatesCreatesOrRejectsTheFile) {
    for (OpenMode const& mode : openModes)
        for (bool const exists : {false, true}) {
            SCOPED_TRACE(mode.name);
            if (exists)
                WriteWholeFile(newName, "0123456789");
            std::string const& expected = exists ? mode.existing : mode.missing;
            bool const isRefused = expected.ends_with("T");
            WritingPath path;
            EXPECT_EQ(isRefused ? expected + On(newName) : "nothing",
                      Thrown([&] { (path.*mode.open)(newFile); }));
            EXPECT_EQ(isRefused, path.descriptor == -1);
            EXPECT_EQ(exists && isRefused ? "0123456789"
                      : isRefused         ? ""
                                          : expected,
                      ReadWholeFile(newName));
            EXPECT_EQ(exists || !isRefused, fs::exists(newName));
            fs::remove(newName);
        }
}

TEST_F(FileWritingPathTest, FailedOpenIsMappedForWriting) {
    std::string const here = On(directory.path());
    for (OpenMode const& mode : openModes) {
        WritingPath path;
        auto const open = [&](FileLocation const& where) {
            (path.*mode.open)(where);
        };
        EXPECT_EQ(
            (mode.call.ends_with("EXCL 666") ? "FileExistsError EEXIST" : "FileIOError EISDIR") +
                here,
            ThrownBy(open, directory.path()));
        // A writing path does not reject the kernel log.
        for (FileLocation const& where : {file, At("/proc/kmsg")})
            ExpectMapped("open", MapperOf(path, where), [&] { open(where); });
        EXPECT_EQ(path.descriptor, -1);
    }
}

TEST_F(FileWritingPathTest, EachOpenFirstClosesTheOpenFile) {
    ForEachMode([&](OpenMode const& mode, FileLocation const& where) {
        FileWritingPath path(file);
        SystemCalls calls;
        (path.*mode.open)(where);
        EXPECT_THAT(calls.Log(), ElementsAre("close", mode.call, "setfd 1"));
        EXPECT_EQ(DescriptorsOn(name).size() + DescriptorsOn(newName).size(), 1u);
    });
    FileWritingPath path(file);
    EXPECT_EQ("FileNotFoundError ENOENT" + On(newName),
              Thrown([&] { path.OpenExisting(newFile); }));
    EXPECT_THAT(DescriptorsOn(name), IsEmpty()) << "also if the open fails";
}

// Deliberate: the close is that of the base class, which does not map ENOSPC and EEXIST to classes
// of their own.
TEST_F(FileWritingPathTest, FailedCloseIsMappedForReadingWithoutAName) {
    WritingPath path;
    UnixPlatform::FileReadingPath const reading;
    for (bool const opens : {false, true})
        ExpectMapped("close", MapperOf(reading, FileLocation()), [&] {
            {
                SystemCalls::Pause const pause;
                path.OpenExisting(file);
            }
            opens ? path.OpenNew(newFile) : path.Close();
        });
    EXPECT_EQ(path.descriptor, -1);
    EXPECT_FALSE(fs::exists(newName)) << "a failed close stops the open";
}

// Deliberate: after the open, the name is not available.
TEST_F(FileWritingPathTest, FlushIsOneFsyncAndItsErrorHasNoName) {
    FileWritingPath path(file);
    for (auto const flush : {&FileWritingPath::Flush, &FileWritingPath::FlushOnBrokenFilesystems}) {
        SystemCalls calls;
        (path.*flush)();
        EXPECT_THAT(calls.Log(), ElementsAre("fsync"));
        ExpectMapped("fsync", MapperOf(path, FileLocation()), [&] { (path.*flush)(); });
    }
    EXPECT_EQ("FileIOError EBADF", Thrown([] { FileWritingPath().Flush(); }));
}

TEST_F(FileWritingPathTest, OpensForWritingAndNeverFlushesThroughItsBase) {
    SystemCalls calls;
    std::unique_ptr<UnixPlatform::FileReadingPath> path = std::make_unique<FileWritingPath>(file);
    path->Close();
    EXPECT_EQ("FileNotOpenError", Thrown([&] { path->Length(); }));
    path->OpenExisting(file);
    calls.Fail("close", EIO);
    EXPECT_NO_THROW(path.reset());
    EXPECT_THAT(calls.Log(),
                ElementsAre("open RDWR", "setfd 1", "close", "open RDWR", "setfd 1", "close"));
}

// Deliberate: see the contract of SetLength.
TEST_F(FileWritingPathTest, SetLengthNeverShrinksAndSeeksByTheWantedLength) {
    std::string const refused = "refused";
    unsigned long long const cutTo32Bits = 1ULL << 32;
    for (auto const& [before, length, after] :
         std::vector<std::tuple<std::string, unsigned long long, std::string>>{
             {"hello", 0, "hello"},
             {"hello", 5, "hello"},
             {"", 1, Bytes("\0")}, // SEEK_SET
             {"hello", cutTo32Bits + 1, Bytes("\0ello")},
             {"h", 2, Bytes("\0")},  // SEEK_CUR
             {"h", 3, Bytes("h\0")}, // SEEK_END
             {"hello", cutTo32Bits + 3, Bytes("hello\0")},
             {"hello", 6, refused},
             {"hello", 100, refused},
             {"hello", cutTo32Bits, refused}}) {
        WriteWholeFile(name, before);
        FileWritingPath path(file);
        EXPECT_EQ(after == refused ? "FileIOError EINVAL" : "nothing",
                  Thrown([&path, wanted = length] { path.SetLength(wanted); }));
        EXPECT_EQ(after == refused ? before : after, ReadWholeFile(name)) << length;
    }
    FileWritingPath path(file);
    SystemCalls calls;
    path.SetLength(2);
    EXPECT_EQ(calls.Log().back(), "ftruncate 5") << "to the current length";
    EXPECT_EQ(calls.Count("write"), 0u);
}

TEST_F(FileWritingPathTest, SetLengthRepeatsUntilTheByteIsWritten) {
    FileWritingPath path(newFile, FileWritingPath::OpenNewFile());
    SystemCalls calls;
    calls.Limit("write", 0);
    calls.Limit("write", 0);
    path.SetLength(1);
    EXPECT_EQ(calls.Count("write 1"), 3u);
    EXPECT_EQ(ReadWholeFile(newName), Bytes("\0"));
}

TEST_F(FileWritingPathTest, FailedSetLengthIsMappedForWriting) {
    FileWritingPath path(newFile, FileWritingPath::OpenNewFile());
    ExpectMapped("write", MapperOf(path, FileLocation()), [&] { path.SetLength(1); });
    ExpectMapped("ftruncate", MapperOf(path, FileLocation()), [&] { path.SetLength(0); });
    path.Close();
    EXPECT_EQ("FileNotOpenError", Thrown([&] { path.SetLength(1); }));
    // A file of unknown length, whose owner may open it for writing without any effect.
    path.OpenExisting(At("/proc/self/timerslack_ns"));
    EXPECT_EQ(path.Length(), UnixPlatform::FileReadingPath::unknownLength);
    SystemCalls calls;
    EXPECT_EQ("FileIOError EINVAL", Thrown([&] { path.SetLength(1); }));
    EXPECT_THAT(calls.Log(), ElementsAre("ftruncate -1"));
}

} // namespace
