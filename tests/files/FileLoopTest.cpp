#include "files/FileLoop.h"

#include <clocale>
#include <new>

#include <dirent.h>

#include "files/AdviceFileTypes.h"
#include "files/FileName.h"
#include "tests/files/FileTest.h"

namespace {

using Loop = UnixPlatform::FileLoop;

static_assert(!std::is_copy_constructible_v<Loop> && !std::is_copy_assignable_v<Loop>);
static_assert(std::has_virtual_destructor_v<Loop>);
static_assert(std::is_base_of_v<DebuggableException, Loop::Error>);
static_assert(std::is_base_of_v<Loop::Error, Loop::InvalidIteratorPosition>);
static_assert(!std::is_base_of_v<FileIOError, Loop::Error>);

class FileLoopTest : public FileTest {
protected:
    void Make(Strings const& names) {
        for (std::string const& name : names)
            WriteWholeFile(directory / name, name);
    }

    void MakeBroken(std::string const& name) { fs::create_symlink("missing", directory / name); }

    std::string NotFound(std::string const& name) {
        return "FileNotFoundError ENOENT" + On(directory / name);
    }

    static std::string NameOf(Loop const& loop) {
        return MakeString(loop.Item().Location().Name().Bytes());
    }

    // The names from the current entry on.
    static Strings Names(Loop& loop) {
        Strings names;
        for (; loop.HasItem(); ++loop)
            names.push_back(NameOf(loop));
        return names;
    }

    Strings NamesOf(char const* wildcard) {
        Loop loop(here, true, wildcard);
        return Names(loop);
    }

    Strings NamesOf(TarvikFileType type) {
        FileLoop loop(here, type);
        return Names(loop);
    }

    FileLocation const here = At(directory.path());
};

TEST_F(FileLoopTest, IsEmptyBeforeStart) {
    Loop loop;
    EXPECT_FALSE(loop.HasItem());
    EXPECT_TRUE(loop.Item().IsNothingThere());
    EXPECT_FALSE((++loop).HasItem());
    loop.SetLoopItem(false);
    EXPECT_TRUE(loop.Item().Location().IsEmpty());
    EXPECT_STREQ(Loop::Error().what(), "N12UnixPlatform8FileLoop5ErrorE");
}

TEST_F(FileLoopTest, ReturnsEntriesInTheOrderOfTheLocale) {
    ASSERT_STREQ(std::setlocale(LC_COLLATE, nullptr), "C");
    std::string const longest(255, 'y');
    Make({"a", "B", "\xC3\xA4", "_", "10", "9", "aa", "a b", "...", "A", ".x", "..y", longest});
    EXPECT_THAT(NamesOf(nullptr), ElementsAre("...", "..y", ".x", "10", "9", "A", "B", "_", "a",
                                              "a b", "aa", longest, "\xC3\xA4"));
    EXPECT_EQ(NamesOf("*"), NamesOf(nullptr));
    EXPECT_THAT(NamesOf(".*"), ElementsAre("...", "..y", ".x")) << "neither \".\" nor \"..\"";
}

TEST_F(FileLoopTest, ItemsHaveTheirLocationAndStatus) {
    Make({"file"});
    fs::create_directory(directory / "sub");
    Loop loop(here, false, nullptr);
    EXPECT_STREQ(loop.Item().Location().Text(), (directory / "file").c_str());
    EXPECT_TRUE(loop.Item().IsRegularFile());
    EXPECT_EQ(loop.Item().Target().st_size, 4);
    ++loop;
    EXPECT_TRUE(loop.Item().IsDirectory());
    Loop const root(At("/"), true, "proc");
    EXPECT_STREQ(root.Item().Location().Text(), "//proc");
}

TEST_F(FileLoopTest, WildcardSelectsMatchingNames) {
    Make({"a.txt", "b.txt", "c.TXT", "txt", "d.txt.bak"});
    EXPECT_THAT(NamesOf("*.txt"), ElementsAre("a.txt", "b.txt"));
    EXPECT_THAT(NamesOf("?.*"), ElementsAre("a.txt", "b.txt", "c.TXT", "d.txt.bak"));
    EXPECT_THAT(NamesOf("*.doc"), IsEmpty());
    EXPECT_THAT(NamesOf(""), IsEmpty()) << "no name matches the empty pattern";
    FileLoop loop(here, nullptr, false);
    EXPECT_EQ(Names(loop).size(), 5u);
    loop.Start(here, "?xt", false);
    EXPECT_THAT(Names(loop), ElementsAre("txt"));
    loop.WildcardStart(here, "d*");
    EXPECT_THAT(Names(loop), ElementsAre("d.txt.bak"));
}

TEST_F(FileLoopTest, TypeSelectsItsExtension) {
    Make({"a.htm", "b.html", "c.txt", "d.HTM", "e.htm.txt", "XVeskaClientUI", "myXVeskaClientUI"});
    EXPECT_THAT(NamesOf(AdviceFileTypes::HTML()), ElementsAre("a.htm"));
    EXPECT_THAT(NamesOf(AdviceFileTypes::Text()), ElementsAre("c.txt", "e.htm.txt"));
    EXPECT_THAT(NamesOf(AdviceFileTypes::Log()), IsEmpty());
    // Deliberate: three types have the empty extension. The extension of one type is the name of a
    // program.
    for (TarvikFileType type :
         {AdviceFileTypes::Site(), AdviceFileTypes::Preferences(), AdviceFileTypes::Profile()})
        EXPECT_EQ(NamesOf(type).size(), 7u);
    EXPECT_THAT(NamesOf(AdviceFileTypes::Miscellany()),
                ElementsAre("XVeskaClientUI", "myXVeskaClientUI"));
    FileLoop loop;
    loop.Start(here, AdviceFileTypes::HTML());
    EXPECT_THAT(Names(loop), ElementsAre("a.htm"));
    MakeBroken("f.txt");
    EXPECT_EQ(NotFound("f.txt"), Thrown([&] { NamesOf(AdviceFileTypes::Text()); }));
}

TEST_F(FileLoopTest, UnreadableDirectoryIsAnEmptyLoop) {
    Make({"file"});
    fs::create_directory(directory / "empty");
    for (FileLocation const& where :
         {Here("missing"), Here("file"), Here("file/below"), Here("empty"), FileLocation()}) {
        Loop loop(where, false, nullptr);
        EXPECT_FALSE(loop.HasItem()) << where.Text();
        EXPECT_FALSE((++loop).HasItem());
    }
    SystemCalls calls;
    calls.Fail("scandir", EACCES);
    EXPECT_FALSE(Loop(here, false, nullptr).HasItem());
}

TEST_F(FileLoopTest, ReportsEntriesThatCannotBeExamined) {
    Make({"a", "b"});
    SystemCalls calls;
    calls.FailFromThenOn("lstat", EACCES);
    EXPECT_EQ("FilePermissionError EACCES" + On(directory / "a"),
              Thrown([&] { Loop(here, true, nullptr); }));
    Loop loop;
    EXPECT_THROW(loop.Start(here, true, nullptr), FilePermissionError);
    EXPECT_EQ("FilePermissionError EACCES" + On(directory / "b"), Thrown([&] { ++loop; }));
    EXPECT_FALSE((++loop).HasItem());
}

TEST_F(FileLoopTest, ReportsADanglingLinkUnlessTolerated) {
    Make({"a", "c"});
    MakeBroken("b");
    EXPECT_THAT(NamesOf(nullptr), ElementsAre("a", "b", "c"));
    EXPECT_TRUE(Loop(here, true, "b").Item().IsBrokenLink());
    Loop loop(here, false, nullptr);
    EXPECT_EQ(NotFound("b"), Thrown([&] { ++loop; }));
    EXPECT_EQ(NameOf(loop), "b") << "the loop stays on the entry";
    EXPECT_TRUE(loop.Item().IsBrokenLink());
    EXPECT_EQ(NameOf(++loop), "c");
}

// Deliberate: the last argument is ignored.
TEST_F(FileLoopTest, PortableLoopReportsEveryDanglingLink) {
    MakeBroken("a");
    Make({"b"});
    for (bool ignored : {false, true}) {
        EXPECT_EQ(NotFound("a"), Thrown([&] { FileLoop(here, nullptr, ignored); }));
        FileLoop loop;
        EXPECT_EQ(NotFound("a"), Thrown([&] { loop.Start(here, "*", ignored); }));
        EXPECT_TRUE(loop->IsBrokenLink()) << "the loop stays on the entry";
        ++loop;
        EXPECT_THAT(Names(loop), ElementsAre("b"));
        EXPECT_EQ(NotFound("a"), Thrown([&] { loop.WildcardStart(here, nullptr); }));
    }
}

TEST_F(FileLoopTest, FailedStartKeepsTheListAndFailedInitReleasesIt) {
    Make({"b"});
    MakeBroken("a");
    Loop loop;
    EXPECT_EQ(NotFound("a"), Thrown([&] { loop.Start(here, false, nullptr); }));
    EXPECT_EQ(NameOf(++loop), "b");
    EXPECT_EQ(NotFound("a"), Thrown([&] { loop.init(here, false, nullptr); }));
    EXPECT_FALSE(loop.HasItem());
    loop.init(here, true, nullptr);
    EXPECT_TRUE(loop.HasItem());
}

TEST_F(FileLoopTest, ListIsReadAtStart) {
    Make({"a", "b", "d"});
    Loop loop(here, true, nullptr);
    fs::remove(directory / "b");
    Make({"c"});
    EXPECT_EQ(NotFound("b"), Thrown([&] { ++loop; }));
    EXPECT_TRUE(loop.Item().IsNothingThere());
    EXPECT_EQ(NameOf(++loop), "d") << "c was created after the start";
    EXPECT_FALSE((++loop).HasItem());
    EXPECT_FALSE((++loop).HasItem());
    EXPECT_EQ(NameOf(loop), "d") << "the item keeps the last entry";
}

TEST_F(FileLoopTest, NewStartReplacesTheList) {
    Make({"a", "b"});
    MakeEntry(directory / "z", "full directory");
    Loop loop(here, false, nullptr);
    loop.Start(Here("z"), false, nullptr);
    EXPECT_THAT(Names(loop), ElementsAre("inside"));
    loop.Start(here, false, "b");
    loop.Start(At("/missing"), false, nullptr);
    EXPECT_FALSE(loop.HasItem());
}

TEST_F(FileLoopTest, ReleasesItsListAtItsEndOrInTheDestructor) {
    Make({"a", "b", "c"});
    // Counts only calls of free(), which release the list; memory that delete releases is not
    // counted.
    auto const freed = [counter = AllocationCounter()] {
        return SystemCalls::Freed() - counter.Releases();
    };
    std::size_t const atFirst = freed();
    {
        Loop loop(here, false, nullptr);
        ++loop;
        ++loop;
        EXPECT_EQ(freed() - atFirst, 1u) << "the array of the system's list";
        ++loop;
        EXPECT_EQ(freed() - atFirst, 5u) << "three entries and their array";
    }
    EXPECT_EQ(freed() - atFirst, 5u);
    { Loop const loop(here, false, nullptr); }
    EXPECT_EQ(freed() - atFirst, 10u) << "the destructor releases the remaining entries";
}

TEST_F(FileLoopTest, SelectorFiltersTheEntries) {
    Make({"a", "bb", "c"});
    Loop loop(here, false, nullptr);
    loop.DoScanDirectory(
        [](dirent const* entry) {
            return int{entry->d_name[1] == '\0' && entry->d_name[0] != '.'};
        },
        nullptr, false);
    EXPECT_THAT(Names(loop), ElementsAre("a", "c"));
    loop.BuildNameList([](dirent const*) { return 1; }, nullptr);
    EXPECT_EQ("IllegalFileNameReserved", Thrown([&] { loop.SetLoopItem(false); }));
    EXPECT_TRUE(loop.HasItem()) << "the loop stays on the entry";
    EXPECT_EQ("IllegalFileNameReserved", Thrown([&] { ++loop; }));
    EXPECT_EQ(NameOf(++loop), "a");
}

TEST_F(FileLoopTest, ShortPathsNeedNoAllocation) {
    Make({"a", "b", "c-23-bytes-long-name..."});
    Loop loop(here, false, nullptr);
    EXPECT_EQ(AllocationsOf([&] { ++loop; }), 0u);
    EXPECT_EQ(AllocationsOf([&] { ++loop; }), 0u);
    EXPECT_EQ(NameOf(loop), "c-23-bytes-long-name...");
}

TEST_F(FileLoopTest, FailedAllocationOfTheListThrowsAndLeavesItEmpty) {
    Make({"a", "b"});
    Loop loop(here, false, nullptr);
    SystemCalls::FailMalloc();
    EXPECT_THROW(loop.Start(here, false, "a"), std::bad_alloc);
    EXPECT_FALSE(loop.HasItem());
    loop.Start(here, false, "a");
    EXPECT_TRUE(loop.HasItem());
}

TEST_F(FileLoopTest, DereferenceAtTheEndThrows) {
    Make({"a"});
    FileLoop loop(here, nullptr, false);
    EXPECT_NO_THROW(*loop);
    ++loop;
    ExpectEachThrows("UnixPlatform::FileLoop::InvalidIteratorPosition",
                     {[&] { *loop; }, [&] { loop->State(); },
                      [] {
                          *FileLoop();
                      }});
}

TEST_F(FileLoopTest, ReturnedItemIsValidUntilTheNextUseOfTheLoop) {
    Make({"a", "b"});
    FileLoop loop(here, nullptr, false);
    FileItem const& item = *loop;
    ++loop;
    EXPECT_EQ(Text(item.Location()), directory / "a");
    EXPECT_EQ(loop.operator->(), &item);
    EXPECT_EQ(Text(item.Location()), directory / "b");
    ++loop;
    EXPECT_EQ(Text(item.Location()), directory / "b") << "also at the end";
}

} // namespace
