#include "files/FileLoop.h"

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "files/AdviceFileTypes.h"
#include "files/FileErrors.h"
#include "files/FileLocation.h"
#include "tests/files/ExpectFileError.h"
#include "tests/files/Files.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::ElementsAre;
namespace fs = std::filesystem;

class FileLoopTest : public testing::Test {
protected:
    void Make(std::vector<std::string> const& names) {
        for (std::string const& name : names)
            WriteWholeFile(directory / name, name);
    }

    std::vector<std::string> Names(FileLoop& loop) {
        std::vector<std::string> names;
        for (; loop.HasItem(); ++loop)
            names.push_back(MakeString(loop->Location().Name().Bytes()));
        return names;
    }

    std::vector<std::string> NamesOf(TarvikFileType type) {
        FileLoop loop(here, type);
        return Names(loop);
    }

    TemporaryDirectory directory;
    FileLocation const here = MakeFileLocation(directory.path().c_str());
};

TEST_F(FileLoopTest, DeliversTheEntriesInOrder) {
    Make({"b", "a", ".c"});
    FileLoop loop(here, nullptr, false);
    EXPECT_THAT(Names(loop), ElementsAre(".c", "a", "b"));
    loop.Start(here, "?", false);
    EXPECT_THAT(Names(loop), ElementsAre("a", "b"));
    loop.WildcardStart(here, ".*");
    EXPECT_THAT(Names(loop), ElementsAre(".c"));
}

// Deliberate: the argument is ignored.
TEST_F(FileLoopTest, BrokenLinksAreReportedWhateverTheLastArgument) {
    fs::create_symlink("missing", directory / "a");
    Make({"b"});
    for (bool ignored : {false, true}) {
        ExpectFileError<FileNotFoundError>(ENOENT, On(directory / "a"),
                                           [&] { FileLoop loop(here, nullptr, ignored); });
        FileLoop loop;
        EXPECT_THROW(loop.Start(here, "*", ignored), FileNotFoundError);
        EXPECT_TRUE(loop->IsBrokenLink()) << "the loop stays on the entry";
        ++loop;
        EXPECT_THAT(Names(loop), ElementsAre("b"));
        EXPECT_THROW(loop.WildcardStart(here, nullptr), FileNotFoundError);
    }
}

TEST_F(FileLoopTest, AMissingDirectoryIsAnEmptyLoopWithoutAnEntryToLookAt) {
    FileLoop const loop(MakeFileLocation((directory / "missing").c_str()), nullptr, false);
    EXPECT_FALSE(loop.HasItem());
    ExpectExactly<FileLoop::InvalidIteratorPosition>([&] { *loop; });
    ExpectExactly<FileLoop::InvalidIteratorPosition>([&] { loop->State(); });
    ExpectExactly<FileLoop::InvalidIteratorPosition>([&] { *FileLoop(); });
}

TEST_F(FileLoopTest, TheEndIsNoEntryToLookAt) {
    Make({"a"});
    FileLoop loop(here, nullptr, false);
    EXPECT_NO_THROW(*loop);
    ++loop;
    ExpectExactly<FileLoop::InvalidIteratorPosition>([&] { *loop; });
}

TEST_F(FileLoopTest, TheCopyOfTheItemStaysAcrossAStepUntilTheNextLook) {
    Make({"a", "b"});
    FileLoop loop(here, nullptr, false);
    FileItem const& item = *loop;
    EXPECT_STREQ(item.Location().Text(), (directory / "a").c_str());
    ++loop;
    EXPECT_STREQ(item.Location().Text(), (directory / "a").c_str());
    EXPECT_EQ(loop.operator->(), &item);
    EXPECT_STREQ(item.Location().Text(), (directory / "b").c_str());
    ++loop;
    EXPECT_STREQ(item.Location().Text(), (directory / "b").c_str()) << "also behind the end";
}

TEST_F(FileLoopTest, ATypeStandsForItsExtension) {
    Make({"a.htm", "b.html", "c.txt", "d.HTM", "e.htm.txt", "XVeskaClientUI", "myXVeskaClientUI"});
    EXPECT_THAT(NamesOf(AdviceFileTypes::HTML()), ElementsAre("a.htm"));
    EXPECT_THAT(NamesOf(AdviceFileTypes::Text()), ElementsAre("c.txt", "e.htm.txt"));
    EXPECT_THAT(NamesOf(AdviceFileTypes::Log()), ElementsAre());
    FileLoop loop;
    loop.Start(here, AdviceFileTypes::HTML());
    EXPECT_THAT(Names(loop), ElementsAre("a.htm"));
}

// Deliberate: three kinds have the empty extension, and one has none at all.
TEST_F(FileLoopTest, TypesWithoutAnExtensionStandForAllEntriesAndMiscellanyForAProgram) {
    Make({"a", "b.txt", "myXVeskaClientUI"});
    for (TarvikFileType type :
         {AdviceFileTypes::Site(), AdviceFileTypes::Preferences(), AdviceFileTypes::Profile()})
        EXPECT_THAT(NamesOf(type), ElementsAre("a", "b.txt", "myXVeskaClientUI"));
    EXPECT_THAT(NamesOf(AdviceFileTypes::Miscellany()), ElementsAre("myXVeskaClientUI"));
}

TEST_F(FileLoopTest, ATypeReportsBrokenLinksToo) {
    fs::create_symlink("missing", directory / "a.txt");
    EXPECT_THROW(NamesOf(AdviceFileTypes::Text()), FileNotFoundError);
}

} // namespace
