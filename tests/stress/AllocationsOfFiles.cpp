#include <cstdio>

#include "data/DataReceiver.h"
#include "files/AdviceFileTypes.h"
#include "files/FileDataSink.h"
#include "files/FileItem.h"
#include "files/FileLocation.h"
#include "files/FileLoop.h"
#include "files/FileOperations.h"
#include "files/FileReader.h"
#include "files/FileReadingLoop.h"
#include "files/FileReadingPath.h"
#include "files/FileRetry.h"
#include "files/FileTrees.h"
#include "files/FileWriter.h"
#include "files/FileWritingPath.h"
#include "files/ReadFile.h"
#include "files/TemporaryLocations.h"
#include "tests/stress/Operations.h"
#include "tests/support/Entries.h"
#include "tests/system/Tool.h"

namespace {

// Longer than the internal storage of FileName and FileLocation.
char const otherFile[] = "17 is aNameThatIsLongEnough.txt";
std::string const longDirectory = "/tmp/" + std::string(140, 'd');
// Another file system.
std::string const elsewhere = "/opt/" + std::string(140, 'o');

struct ItemText : AsText {
    using AsText::operator();
    std::string operator()(FileLocation const& location) const { return location.Text(); }
    std::string operator()(FileItem const& item) const {
        return item.Location().Text() + std::string(item.IsRegularFile() ? " file" : " other");
    }
    // The names of all items of a loop.
    std::string operator()(std::unique_ptr<FileLoop> const& loop) const {
        std::string shown;
        for (; loop->HasItem(); ++*loop)
            shown += (*this)(**loop) + '|';
        return shown;
    }
};

auto const givingItem = Operation::Giver(ItemText());

// Created once, so that only the operations allocate memory.
FileLocation const& Place(std::string const& directory, char const* name) {
    static std::map<std::string, FileLocation, std::less<>> made[2];
    auto& places = made[&directory == &elsewhere];
    auto place = places.find(name);
    if (place == places.end())
        place = places.emplace(name, MakeFileLocation((directory + "/" + name).c_str())).first;
    return place->second;
}

FileLocation const& Here(char const* name) { return Place(longDirectory, name); }

FileLocation const& There(char const* name) { return Place(elsewhere, name); }

// Two file systems with new content, and their content as text.
class Disk {
public:
    Disk() {
        for (auto const& place : {longDirectory, elsewhere}) {
            fs::remove_all(place);
            fs::create_directories(place + "/tree/sub");
            WriteBytes(place + "/file", "content");
            WriteBytes(place + "/" + otherFile, "other");
            WriteBytes(place + "/tree/one.txt", "1");
            WriteBytes(place + "/tree/sub/two.txt", "2");
            fs::create_directory(place + "/empty");
        }
        for (auto const& entry : fs::directory_iterator("/tmp"))
            if (entry.path().string() != longDirectory)
                fs::remove_all(entry.path());
    }

    static std::string Show() {
        std::map<std::string, Entry> shown;
        for (char const* place : {"/tmp", "/opt"})
            for (auto const& entry : fs::recursive_directory_iterator(place))
                shown[entry.path()] = EntryOnDisk(entry.path());
        return testing::PrintToString(shown);
    }
};

Operation OnDisk(std::string const& name, std::function<void()> const& act, Stated stated = {}) {
    return Operation(
        name, [] { return Disk(); }, [act](Disk&) { act(); },
        [](Disk const&) { return Disk::Show(); }, std::move(stated));
}

// An operation of several steps keeps the completed ones. `outcomes` lists further outcomes.
Operation InPartOr(std::vector<std::string> outcomes, std::string const& name,
                   std::function<void()> const& act) {
    return OnDisk(name, act, {.state = Stated::Abandoned, .outcomes = std::move(outcomes)});
}

Operation InPart(std::string const& name, std::function<void()> const& act) {
    return InPartOr({}, name, act);
}

// The C library's own allocations. They fail with ENOMEM.
Stated const noResource = {.outcomes = {"FileResourceError"}};

FileRetryLog const noLog;

Operations OfSingleFiles() {
    return {
        OnDisk(CC_TRY(CreateFile(Here("new"), {})), noResource),
        OnDisk(CC_TRY(CreateFile(Here("file"), {}))),
        OnDisk(CC_TRY(CreateDirectory(Here("empty"), {}))),
        OnDisk(CC_TRY(CreateDirectoryForUserAppAccess(Here("empty")))),
        OnDisk(CC_TRY(ForceDirectoryExistence(Here("file"), {}))),
        OnDisk(CC_TRY(DeleteFile(Here("missing")))),
        OnDisk(CC_TRY(DeleteDirectory(Here("file")))),
        OnDisk(CC_TRY(ForceNonexistence(Here("tree")))),
        InPart(CC_TRY(CopyFile(Here("file"), Here("new")))),
        OnDisk(CC_TRY(CopyFile(Here("file"), Here(otherFile)))),
        InPart(CC_TRY(ForceCopyFile(Here("file"), Here(otherFile)))),
        OnDisk(CC_TRY(ForceCopyFile(Here("missing"), Here("file")))),
        OnDisk(CC_TRY(MoveFile(Here("missing"), Here("new")))),
        InPart(CC_TRY(MoveFile(Here("file"), There("new")))),
        OnDisk(CC_TRY(MoveFile(Here("tree"), Here("tree/x")))),
        OnDisk(CC_TRY(ForceMoveFile(Here("file"), Here("tree")))),
        InPart(CC_TRY(ForceMoveFile(Here("file"), There("file")))),
        OnDisk(CC_TRY(SetFileReadOnly(Here("missing"), true))),
        OnDisk(CC_TRY(Here("missing").IsReadOnly())),
    };
}

// Without memory for its names a directory counts as empty, and the system refuses to remove it.
Operations OfTrees() {
    return {
        InPart(CC_TRY(CreateDirectoryTree(Here("a/b/c")))),
        OnDisk(CC_TRY(CreateDirectoryTree(Here("file/b")))),
        // A directory that cannot be listed is copied as an empty one.
        InPartOr({"", "FileExistsError"},
                 CC_TRY(CopyDirectoryContents(Here("tree"), Here("copy")))),
        OnDisk(CC_TRY(CopyDirectoryContents(Here("file"), Here("copy")))),
        InPartOr({"FileIOError"}, CC_TRY(DeleteRecursive(Here("tree")))),
        OnDisk(CC_TRY(DeleteRecursive(Here("missing")))),
        InPartOr({"", "FileIOError"}, CC_TRY(DeleteContents(Here("tree")))),
        OnDisk(CC_TRY(DeleteContents(Here("missing")))),
        InPartOr({"FileIOError"}, CC_TRY(ForceDeleteRecursive(Here("tree")))),
        InPartOr({"", "FileIOError"}, CC_TRY(ForceDeleteContents(Here("tree")))),
        InPartOr({"", "FileExistsError", "FileIOError"},
                 CC_TRY(MoveFile(Here("tree"), There("new")))),
    };
}

// Each failure is retried, so a single one is rarely visible.
Operations OfRetries() {
    return {
        OnDisk(CC_TRY(CreateFileWithRetry(Here("file"), {}, noLog))),
        OnDisk(CC_TRY(CreateDirectoryWithRetry(Here("empty"), {}, noLog))),
        OnDisk(CC_TRY(ForceDirectoryExistenceWithInfoWithRetry(Here("file"), {}, noLog))),
        OnDisk(CC_TRY(ForceDirectoryExistenceWithRetry(Here("file"), noLog))),
        InPartOr({"FileExistsError"}, CC_TRY(CopyFileWithRetry(Here("file"), Here("new"), noLog))),
        InPart(CC_TRY(ForceCopyFileWithRetry(Here("file"), Here(otherFile), noLog))),
        OnDisk(CC_TRY(MoveFileWithRetry(Here("missing"), Here("new"), noLog))),
        OnDisk(CC_TRY(ForceMoveFileWithRetry(Here("missing"), Here("new"), noLog))),
        OnDisk(CC_TRY(DeleteFileWithRetry(Here("missing"), noLog))),
        OnDisk(CC_TRY(DeleteDirectoryWithRetry(Here("file"), noLog))),
        OnDisk(CC_TRY(ForceNonexistenceWithRetry(Here("tree"), noLog))),
        OnDisk(CC_TRY(RunWithRetry(DeleteFile, "name", Here("missing"), noLog))),
        OnDisk(CC_TRY(FileItem().SetModificationTimeWithRetry(Instant(1'000'000), noLog))),
    };
}

Operations OfOpenFiles() {
    return {
        OnDisk(CC_TRY(FileReadingPath(Here("file")))),
        OnDisk(CC_TRY(FileReadingPath(Here("missing")))),
        OnDisk(CC_TRY(FileReadingPath().OpenExisting(Here("file")))),
        OnDisk(CC_TRY(FileReadingPath().Length())),
        OnDisk(CC_TRY(FileWritingPath(Here("missing")))),
        OnDisk(CC_TRY(FileWritingPath(Here("a/b"), FileWritingPath::OpenExistingFile()))),
        OnDisk(CC_TRY(FileWritingPath(Here("a/b"), FileWritingPath::OpenExistingFileOrNewFile()))),
        OnDisk(CC_TRY(FileWritingPath(Here("file"), FileWritingPath::OpenNewFile()))),
        OnDisk(CC_TRY(FileWritingPath(Here("a/b"), FileWritingPath::OpenNewFileOrAsNewFile()))),
        OnDisk(CC_TRY(FileWritingPath().Flush())),
        OnDisk(CC_TRY(FileWritingPath().SetLength(9))),
    };
}

Operations OfFileStreams() {
    return {
        OnDisk(CC_TRY(FileReader(FileReadingPath(), 0))),
        OnDisk("FileReader >> Data beyond the end",
               [] {
                   unsigned char bytes[100];
                   FileReader(FileReadingPath(Here("file")), 0) >> Data(bytes);
               }),
        OnDisk("FileReadingLoop",
               [] {
                   unsigned char bytes[3];
                   FileReadingPath const path(Here("file"));
                   for (FileReadingLoop loop(Data(bytes), path, 0, 99); loop.Remaining() != 0;)
                       ++loop;
               }),
        OnDisk("FileWriter, refused", [] { FileWriter(FileWritingPath(), 0) << ConstData("x"); }),
        OnDisk("FileDataSink, refused",
               [] {
                   FileWritingPath const path;
                   FileDataSink sink;
                   DataReceiver& receiver = sink(path, 0);
                   receiver.Start();
                   receiver.Receive(ConstData("x"));
               }),
        OnDisk(CC_TRY(ReadFile(Here("file"), DataReceiver::Ignore(), 0))),
        OnDisk(CC_TRY(ReadFile(Here("missing"), DataReceiver::Ignore(), 0, 5))),
    };
}

// A directory that cannot be listed, here for lack of memory, gives an empty loop.
Operations OfDirectories() {
    static FileLocation const directory = MakeFileLocation(longDirectory.c_str());
    auto const giving =
        Operation::Giver(ItemText(), {.state = Stated::Abandoned, .outcomes = {""}});
    // On an existing loop.
    auto const giveStarted = [&](std::string const& what, auto start) {
        return giving(what, [start] {
            auto loop = std::make_unique<FileLoop>();
            start(*loop);
            return loop;
        });
    };
    return {
        giving(CC_TRY(std::make_unique<FileLoop>(directory, "*e", false))),
            giving(CC_TRY(std::make_unique<FileLoop>(directory, TarvikFileTypeText))),
            giveStarted(CC_TRY_ON(it.Start(directory, nullptr, false))),
            giveStarted(CC_TRY_ON(it.WildcardStart(directory, "*"))),
            giveStarted(CC_TRY_ON(it.Start(directory, TarvikFileTypeText))),
            giveStarted(CC_TRY_ON(it.init(directory, true, "*.txt"))),
            giveStarted(CC_TRY_ON(it.Start(directory, nullptr, false); ++it)),
            giveStarted(CC_TRY_ON(it.Start(directory, nullptr, false);
                                  if (it.HasItem()) static_cast<void>(*it))),
    };
}

Operations OfItems() {
    return {
        givingItem(CC_TRY(FileItem(Here("file")))),
        givingItem("FileItem::Fill(parent, name)",
                   [] {
                       FileItem item;
                       item.Fill(MakeFileLocation(longDirectory.c_str()),
                                 UnixPlatform::FileName(otherFile));
                       return item;
                   }),
        OnDisk(CC_TRY(FileItem(Here("missing")))),
        InPart("FileItem::Checksum, refused",
               [] {
                   FileItem const item(Here("file"));
                   std::remove(Here("file").Text());
                   static_cast<void>(item.Checksum());
               }),
        OnDisk(CC_TRY(FileItem().SetModificationTime(Instant(5)))),
    };
}

// The system chooses the name of the new entry, so it is removed. An entry whose name could not be
// returned for lack of memory remains.
template <class Create>
Operation Creating(std::string const& name, Create create) {
    return InPartOr({"CreateUniqueFileLocationFailed"}, name,
                    [create] { std::remove(create().Text()); });
}

Operations OfTemporaries() {
    static std::string const prefix(140, 'p');
    static FileLocation const directory = MakeFileLocation(longDirectory.c_str());
    return {
        givingItem(CC_TRY(UISessionDefaultDirectory(prefix))),
        Creating(CC_TRY(CreateUniqueFileLocation(directory, "a"))),
        Creating(CC_TRY(CreateUniqueDirLocation(directory, "a"))),
        Creating(CC_TRY(CreateUniqueFileLocation(prefix.c_str()))),
        Creating(CC_TRY(CreateUniqueFileLocationWithHint(Here("file"), "a"))),
        InPart(CC_TRY(LocationForTemporaryFile(Here("file")))),
        // Returns false and leaves the location unchanged.
        InPartOr({""}, "MakeTemporaryFileLocation",
                 [] {
                     FileLocation made;
                     if (MakeTemporaryFileLocation(made, prefix.c_str()))
                         std::remove(made.Text());
                 }),
    };
}

TEST(QuickAllocations, FailuresInFilesHaveDocumentedOutcomes) {
    TestInSandbox([] {
        return FailEachOf("files",
                          Join({OfSingleFiles(), OfTrees(), OfRetries(), OfOpenFiles(),
                                OfFileStreams(), OfDirectories(), OfItems(), OfTemporaries()}));
    });
}

} // namespace
