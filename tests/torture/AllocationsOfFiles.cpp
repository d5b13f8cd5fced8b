#include "tests/torture/AllocationsOfFolders.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "data/DataReceiver.h"
#include "files/AdviceFileTypes.h"
#include "files/EncodedNames.h"
#include "files/FileDataSink.h"
#include "files/FileErrors.h"
#include "files/FileItem.h"
#include "files/FileLocation.h"
#include "files/FileLoop.h"
#include "files/FileName.h"
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
#include "files/unix/FileErrorMappers.h"
#include "files/unix/WildcardMatch.h"
#include "tests/torture/Operations.h"

namespace {

namespace fs = std::filesystem;
using Torture::Operation;
using Torture::Operations;
using Torture::Stated;

// What no FileName and no FileLocation holds inside.
char const longName[] = "17 is aNameThatIsLongEnough.txt";
std::string const longDirectory = "/tmp/" + std::string(140, 'd');
// Another file system.
std::string const elsewhere = "/opt/" + std::string(140, 'o');

std::string const longFileText(300, 'd');

std::string ShowName(UnixPlatform::FileName const& name) { return MakeString(name.Bytes()); }

std::string ShowLocation(UnixPlatform::FileLocation const& location) { return location.Text(); }

// Made once, so that it is the operations alone that ask for memory.
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

Operations OfNames() {
    static FileName const name(longName);
    static auto const utf8 =
        UStringRef<UTF8>(reinterpret_cast<unsigned char const*>(longName),
                         reinterpret_cast<unsigned char const*>(longName) + sizeof longName - 1);
    auto const giving = Operation::Giver(ShowName);
    return {
        giving("FileName(char const*)", [] { return FileName(longName); }),
        giving("FileName(ConstData)", [] { return FileName(ConstData(longName)); }),
        giving("FileName(UStringRef<UTF8>)", [] { return FileName(utf8); }),
        giving("FileName(FileName const&)", [] { return FileName(name); }),
        giving("FileName::CombineNames",
               [] { return FileName::CombineNames(longName, 20, longName, 20); }),
        giving("ConstData + FileName", [] { return ConstData("a") + name; }),
        giving("char const* + FileName", [] { return "a" + name; }),
        giving("FileName + ConstData", [] { return name + ConstData("a"); }),
        giving("FileName + char const*", [] { return name + "a"; }),
        giving("FileName + FileName", [] { return name + name; }),
        giving("UStringRef<UTF8> + FileName", [] { return utf8 + name; }),
        giving("FileName + UStringRef<UTF8>", [] { return name + utf8; }),
        giving("FileName::PrefixDigits",
               [] { return FileName("1234567890123456789012345678x").PrefixDigits(); }),
        giving("FileName::NameBeforeExtension",
               [] { return name.NameBeforeExtension(".txt", false); }),
        giving("FileName::NameAfterPrefix", [] { return name.NameAfterPrefix("17", false); }),
        giving("FileName::BaseName", [] { return name.BaseName(); }),
        Operation::Giving(
            "FileName::MakeUTF8String", [] { return name.MakeUTF8String(); },
            [](AutoUString<UTF8> const& text) { return std::to_string(text.Length()); }),
        Operation(
            "FileName::Set", [] { return FileName("short"); },
            [](FileName& changed) { changed.Set(longName, sizeof longName - 1); }, ShowName),
        Operation(
            "FileName::SafeSet", [] { return FileName("short"); },
            [](FileName& changed) { changed.SafeSet(longName, sizeof longName - 1); }, ShowName),
        Operation(
            "FileName::operator=", [] { return FileName("aNameThatIsLongEnoughToo.txt"); },
            [](FileName& changed) { changed = name; }, ShowName),
        Operation::Giving(
            "MatchWildcard", [] { return UnixPlatform::MatchWildcard(longFileText, "*d"); },
            [](bool matches) { return std::to_string(matches); }),
    };
}

Operations OfLocations() {
    static FileLocation const location = Here("directory");
    static FileName const name(longName);
    auto const giving = Operation::Giver(ShowLocation);
    auto const changing = [](std::string const& what, auto act) {
        return Operation(
            what, [] { return Here("before"); }, act, ShowLocation);
    };
    return {
        giving("FileLocation(FileLocation const&)", [] { return FileLocation(location); }),
        giving(
            "FileLocation(UnixPlatform::FileLocation const&)",
            [] { return FileLocation(static_cast<UnixPlatform::FileLocation const&>(location)); }),
        giving("FileLocation(parent, char const*)",
               [] { return FileLocation(location, longName); }),
        giving("FileLocation(parent, ConstData)",
               [] { return FileLocation(location, ConstData(longName)); }),
        giving("FileLocation(parent, FileName)", [] { return FileLocation(location, name); }),
        giving("FileLocation::Child", [] { return location.Child(name); }),
        giving("FileLocation::Sibling", [] { return location.Sibling(name); }),
        giving("FileLocation::Relative", [] { return location.Relative("a/b"); }),
        giving("FileLocation::Parent", [] { return location.Parent(); }),
        Operation::Giving(
            "FileLocation::Name", [] { return Here(longName).Name(); }, ShowName),
        giving("MakeFileLocation(char const*)",
               [] { return MakeFileLocation(longDirectory.c_str()); }),
        giving("MakeFileLocation(ConstData)",
               [] { return MakeFileLocation(ConstData(longDirectory)); }),
        giving("MakeFileLocation(UStringRef<UTF8>)",
               [] {
                   auto const bytes = reinterpret_cast<unsigned char const*>(longDirectory.data());
                   return MakeFileLocation(UStringRef<UTF8>(bytes, bytes + longDirectory.size()));
               }),
        giving("MakeRelativeFileLocation",
               [] { return MakeRelativeFileLocation(location, "a/b"); }),
        changing("MakeFileLocationWithWildcard",
                 [](FileLocation& changed) {
                     static std::string const pattern = longDirectory + "/x/*.txt";
                     MakeFileLocationWithWildcard(pattern.c_str(), changed);
                 }),
        changing("FileLocation::operator=", [](FileLocation& changed) { changed = location; }),
        changing("FileLocation::SetFullPathName",
                 [](FileLocation& changed) {
                     changed.SetFullPathName(longDirectory.data(),
                                             static_cast<unsigned int>(longDirectory.size()));
                 }),
        changing("FileLocation::Set",
                 [](FileLocation& changed) { changed.Set(location, ConstData(longName)); }),
        Operation::Doing("FileLocation::RequireNonEmpty", [] { FileLocation().RequireNonEmpty(); }),
        Operation::Doing("FileLocation::Parent of the root",
                         [] { static_cast<void>(MakeFileLocation("/").Parent()); }),
        Operation::Doing("EqualOrDescendant, refused",
                         [] { EqualOrDescendant(FileLocation(), location); }),
        Operation::Doing("IsDescendant, refused", [] { IsDescendant(FileLocation(), location); }),
        Operation::Doing("GetDateFromNameInFileLocation",
                         [] {
                             unsigned int number = 0;
                             GetDateFromNameInFileLocation(Here(longName), number, number, number);
                         }),
    };
}

std::string ShowError(FileIOError const& error) {
    return error.MakeErrorMessage() + ' ' + std::to_string(error.GetCode());
}

template <class Error>
Operation Mapping(std::string const& name, Error throwError) {
    return Operation::Doing(name, [throwError] { throwError(Here("x"), ENOENT); });
}

Operations OfErrors() {
    static FileLocation const first = Here("first");
    static FileLocation const second = Here("second");
    static FileNotFoundError const error(first, second, ENOENT);
    auto const giving = Operation::Giver(ShowError);
    return {
        giving("FileIOError(int)", [] { return FileIOError(ENOENT); }),
        giving("FileIOError(name)", [] { return FileIOError(ConstData(longName), ENOENT); }),
        giving("FileIOError(two names)",
               [] { return FileIOError(ConstData(longName), ConstData(longName), ENOENT); }),
        giving("FileIOError(location)", [] { return FileIOError(first, ENOENT); }),
        giving("FileIOError(two locations)", [] { return FileIOError(first, second, ENOENT); }),
        giving("FileIOError(FileIOError const&)", [] { return FileIOError(error); }),
        Operation(
            "FileIOError::operator=", [] { return FileIOError(ConstData(longName), 5); },
            [](FileIOError& changed) { changed = error; }, ShowError, {.state = Stated::AnyValue}),
        Operation::Giving(
            "FileIOError::MakeErrorMessage", [] { return error.MakeErrorMessage(); },
            [](std::string const& message) { return message; }),
        // Without memory for the message, the bare name of the type.
        Operation(
            "FileIOError::what", [] { return std::make_pair(error, std::string(200, ' ')); },
            [](auto& pair) {
                char const* const words = pair.first.what();
                pair.second.assign(words, std::min<std::size_t>(std::strlen(words), 200));
            },
            [](auto const& pair) { return pair.second; },
            {.state = Stated::Shown, .shown = "17FileNotFoundError", .outcomes = {""}}),
        Operation::Giving(
            "MakeErrorString", [] { return MakeErrorString(ENOENT); },
            [](std::string const& message) { return message; }),
        Mapping("ThrowFileError", ThrowFileError),
        Mapping("ThrowReadingPathError", UnixPlatform::ThrowReadingPathError),
        Mapping("ThrowWritingPathError", UnixPlatform::ThrowWritingPathError),
        Mapping("ThrowReaderError", UnixPlatform::ThrowReaderError),
        Mapping("ThrowWriterError", UnixPlatform::ThrowWriterError),
    };
}

// Two file systems, laid out anew, and their content as text.
class Disk {
public:
    Disk() {
        for (auto const& place : {longDirectory, elsewhere}) {
            fs::remove_all(place);
            fs::create_directories(place + "/tree/sub");
            Write(place + "/file", "content");
            Write(place + "/" + longName, "other");
            Write(place + "/tree/one.txt", "1");
            Write(place + "/tree/sub/two.txt", "2");
            fs::create_directory(place + "/empty");
        }
        for (auto const& entry : fs::directory_iterator("/tmp"))
            if (entry.path().string() != longDirectory)
                fs::remove_all(entry.path());
    }

    static std::string Show() {
        std::set<std::string> shown;
        for (char const* place : {"/tmp", "/opt"})
            for (auto const& entry : fs::recursive_directory_iterator(place))
                shown.insert(ShowEntry(entry));
        std::string all;
        for (std::string const& entry : shown)
            all += entry + '\n';
        return all;
    }

private:
    static void Write(std::string const& path, char const* text) { std::ofstream(path) << text; }

    static std::string ShowEntry(fs::directory_entry const& entry) {
        std::string shown = entry.path().string();
        if (entry.is_regular_file()) {
            std::ifstream file(entry.path());
            shown += '=';
            shown.append(std::istreambuf_iterator<char>(file), {});
        }
        return shown;
    }
};

template <class Act>
Operation OnDisk(std::string const& name, Act act, Stated stated = {}) {
    return Operation(
        name, [] { return Disk(); }, [act](Disk&) { act(); },
        [](Disk const&) { return Disk::Show(); }, std::move(stated));
}

// Where more than one step is made, what is done stays done; and what else may come of it.
template <class Act>
Operation InPartOr(std::vector<std::string> outcomes, std::string const& name, Act act) {
    return OnDisk(name, act, {.state = Stated::Abandoned, .outcomes = std::move(outcomes)});
}

template <class Act>
Operation InPart(std::string const& name, Act act) {
    return InPartOr({}, name, act);
}

// The C library's own memory: the system's answer is then ENOMEM.
Stated const noResource = {.outcomes = {"FileResourceError"}};

FileRetryLog const noLog;

Operations OfSingleFiles() {
    return {
        OnDisk(
            "CreateFile", [] { CreateFile(Here("new"), {}); }, noResource),
        OnDisk("CreateFile, refused", [] { CreateFile(Here("file"), {}); }),
        OnDisk("CreateDirectory, refused", [] { CreateDirectory(Here("empty"), {}); }),
        OnDisk("CreateDirectoryForUserAppAccess, refused",
               [] { CreateDirectoryForUserAppAccess(Here("empty")); }),
        OnDisk("ForceDirectoryExistence, refused",
               [] { ForceDirectoryExistence(Here("file"), {}); }),
        OnDisk("DeleteFile, refused", [] { DeleteFile(Here("missing")); }),
        OnDisk("DeleteDirectory, refused", [] { DeleteDirectory(Here("file")); }),
        OnDisk("ForceNonexistence, refused", [] { ForceNonexistence(Here("tree")); }),
        InPart("CopyFile", [] { CopyFile(Here("file"), Here("new")); }),
        OnDisk("CopyFile, refused", [] { CopyFile(Here("file"), Here(longName)); }),
        InPart("ForceCopyFile", [] { ForceCopyFile(Here("file"), Here(longName)); }),
        OnDisk("ForceCopyFile, refused", [] { ForceCopyFile(Here("missing"), Here("file")); }),
        OnDisk("MoveFile, refused", [] { MoveFile(Here("missing"), Here("new")); }),
        InPart("MoveFile to another file system", [] { MoveFile(Here("file"), There("new")); }),
        OnDisk("MoveFile, refused by the system", [] { MoveFile(Here("tree"), Here("tree/x")); }),
        OnDisk("ForceMoveFile, refused", [] { ForceMoveFile(Here("file"), Here("tree")); }),
        InPart("ForceMoveFile to another file system",
               [] { ForceMoveFile(Here("file"), There("file")); }),
        OnDisk("SetFileReadOnly, refused", [] { SetFileReadOnly(Here("missing"), true); }),
        OnDisk("FileLocation::IsReadOnly, refused", [] { Here("missing").IsReadOnly(); }),
    };
}

// Without memory for the names of a directory it counts as empty, and then the system refuses to
// remove it.
Operations OfTrees() {
    return {
        InPart("CreateDirectoryTree", [] { CreateDirectoryTree(Here("a/b/c")); }),
        OnDisk("CreateDirectoryTree, refused", [] { CreateDirectoryTree(Here("file/b")); }),
        // A directory that can't be listed is copied as if it were empty.
        InPartOr({"", "FileExistsError"}, "CopyDirectoryContents",
                 [] { CopyDirectoryContents(Here("tree"), Here("copy")); }),
        OnDisk("CopyDirectoryContents, refused",
               [] { CopyDirectoryContents(Here("file"), Here("copy")); }),
        InPartOr({"FileIOError"}, "DeleteRecursive", [] { DeleteRecursive(Here("tree")); }),
        OnDisk("DeleteRecursive, refused", [] { DeleteRecursive(Here("missing")); }),
        InPartOr({"", "FileIOError"}, "DeleteContents", [] { DeleteContents(Here("tree")); }),
        OnDisk("DeleteContents, refused", [] { DeleteContents(Here("missing")); }),
        InPartOr({"FileIOError"}, "ForceDeleteRecursive",
                 [] { ForceDeleteRecursive(Here("tree")); }),
        InPartOr({"", "FileIOError"}, "ForceDeleteContents",
                 [] { ForceDeleteContents(Here("tree")); }),
        InPartOr({"", "FileExistsError", "FileIOError"},
                 "MoveFile of a directory to another file system",
                 [] { MoveFile(Here("tree"), There("new")); }),
    };
}

// Each failure is a reason to try again, so one alone is seldom seen.
Operations OfRetries() {
    return {
        OnDisk("CreateFileWithRetry", [] { CreateFileWithRetry(Here("file"), {}, noLog); }),
        OnDisk("CreateDirectoryWithRetry",
               [] { CreateDirectoryWithRetry(Here("empty"), {}, noLog); }),
        OnDisk("ForceDirectoryExistenceWithInfoWithRetry",
               [] { ForceDirectoryExistenceWithInfoWithRetry(Here("file"), {}, noLog); }),
        OnDisk("ForceDirectoryExistenceWithRetry",
               [] { ForceDirectoryExistenceWithRetry(Here("file"), noLog); }),
        InPartOr({"FileExistsError"}, "CopyFileWithRetry",
                 [] { CopyFileWithRetry(Here("file"), Here("new"), noLog); }),
        InPart("ForceCopyFileWithRetry",
               [] { ForceCopyFileWithRetry(Here("file"), Here(longName), noLog); }),
        OnDisk("MoveFileWithRetry", [] { MoveFileWithRetry(Here("missing"), Here("new"), noLog); }),
        OnDisk("ForceMoveFileWithRetry",
               [] { ForceMoveFileWithRetry(Here("missing"), Here("new"), noLog); }),
        OnDisk("DeleteFileWithRetry", [] { DeleteFileWithRetry(Here("missing"), noLog); }),
        OnDisk("DeleteDirectoryWithRetry", [] { DeleteDirectoryWithRetry(Here("file"), noLog); }),
        OnDisk("ForceNonexistenceWithRetry",
               [] { ForceNonexistenceWithRetry(Here("tree"), noLog); }),
        OnDisk("RunWithRetry", [] { RunWithRetry(DeleteFile, "name", Here("missing"), noLog); }),
        OnDisk("SetModificationTimeWithRetry",
               [] {
                   FileItem item;
                   item.SetModificationTimeWithRetry(Instant(1'000'000), noLog);
               }),
    };
}

Operations OfOpenFiles() {
    return {
        OnDisk("FileReadingPath", [] { FileReadingPath const path(Here("file")); }),
        OnDisk("FileReadingPath, refused", [] { FileReadingPath const path(Here("missing")); }),
        OnDisk("FileReadingPath::OpenExisting",
               [] {
                   FileReadingPath path;
                   path.OpenExisting(Here("file"));
               }),
        OnDisk("FileReadingPath::Length, refused",
               [] { static_cast<void>(FileReadingPath().Length()); }),
        OnDisk("FileWritingPath, refused", [] { FileWritingPath const path(Here("missing")); }),
        OnDisk(
            "FileWritingPath(OpenExistingFile), refused",
            [] { FileWritingPath const path(Here("a/b"), FileWritingPath::OpenExistingFile()); }),
        OnDisk("FileWritingPath(OpenExistingFileOrNewFile), refused",
               [] {
                   FileWritingPath const path(Here("a/b"),
                                              FileWritingPath::OpenExistingFileOrNewFile());
               }),
        OnDisk("FileWritingPath(OpenNewFile), refused",
               [] { FileWritingPath const path(Here("file"), FileWritingPath::OpenNewFile()); }),
        OnDisk("FileWritingPath(OpenNewFileOrAsNewFile), refused",
               [] {
                   FileWritingPath const path(Here("a/b"),
                                              FileWritingPath::OpenNewFileOrAsNewFile());
               }),
        OnDisk("FileWritingPath::Flush, refused", [] { FileWritingPath().Flush(); }),
        OnDisk("FileWritingPath::SetLength, refused", [] { FileWritingPath().SetLength(9); }),
    };
}

Operations OfFileStreams() {
    return {
        OnDisk("FileReader, refused", [] { FileReader const reader(FileReadingPath(), 0); }),
        OnDisk("FileReader >> Data beyond the end",
               [] {
                   unsigned char bytes[100];
                   FileReadingPath const path(Here("file"));
                   FileReader(path, 0) >> Data(bytes);
               }),
        OnDisk("FileReadingLoop",
               [] {
                   unsigned char bytes[3];
                   FileReadingPath const path(Here("file"));
                   for (FileReadingLoop loop(Data(bytes), path, 0, 99); loop.Remaining() != 0;)
                       ++loop;
               }),
        OnDisk("FileWriter, refused",
               [] {
                   FileWritingPath const path;
                   FileWriter(path, 0) << ConstData("x");
               }),
        OnDisk("FileDataSink, refused",
               [] {
                   FileWritingPath const path;
                   FileDataSink sink;
                   DataReceiver& receiver = sink(path, 0);
                   receiver.Start();
                   receiver.Receive(ConstData("x"));
               }),
        OnDisk("ReadFile(DataReceiver)", [] { ReadFile(Here("file"), DataReceiver::Ignore(), 0); }),
        OnDisk("ReadFile(DataReceiver, stop), refused",
               [] { ReadFile(Here("missing"), DataReceiver::Ignore(), 0, 5); }),
    };
}

std::string ShowFileItem(FileItem const& item) {
    return ShowLocation(item.Location()) + (item.IsRegularFile() ? " file" : " other");
}

// All items of a loop by their names.
std::string ShowLoop(std::unique_ptr<FileLoop> const& loop) {
    std::string shown;
    for (; loop->HasItem(); ++*loop)
        shown += ShowFileItem(**loop) + '|';
    return shown;
}

// A directory that can't be listed for lack of memory gives an empty loop, like any that can't be.
Operations OfDirectories() {
    static FileLocation const directory = MakeFileLocation(longDirectory.c_str());
    auto const giving = Operation::Giver(ShowLoop, {.state = Stated::Abandoned, .outcomes = {""}});
    // A loop that is made before.
    auto const giveStarted = [&](std::string const& what, auto start) {
        return giving(what, [start] {
            auto loop = std::make_unique<FileLoop>();
            start(*loop);
            return loop;
        });
    };
    return {
        giving("FileLoop(location, wildcard, bool)",
               [] { return std::make_unique<FileLoop>(directory, "*e", false); }),
        giving("FileLoop(location, type)",
               [] { return std::make_unique<FileLoop>(directory, TarvikFileTypeText); }),
        giveStarted("FileLoop::Start(location, wildcard, bool)",
                    [](FileLoop& loop) { loop.Start(directory, nullptr, false); }),
        giveStarted("FileLoop::WildcardStart",
                    [](FileLoop& loop) { loop.WildcardStart(directory, "*"); }),
        giveStarted("FileLoop::Start(location, type)",
                    [](FileLoop& loop) { loop.Start(directory, TarvikFileTypeText); }),
        giveStarted("UnixPlatform::FileLoop::init",
                    [](FileLoop& loop) { loop.init(directory, true, "*.txt"); }),
        giveStarted("FileLoop::operator++",
                    [](FileLoop& loop) {
                        loop.Start(directory, nullptr, false);
                        ++loop;
                    }),
        giveStarted("FileLoop::operator*",
                    [](FileLoop& loop) {
                        loop.Start(directory, nullptr, false);
                        if (loop.HasItem())
                            static_cast<void>(*loop);
                    }),
    };
}

Operations OfItems() {
    auto const giving = Operation::Giver(ShowFileItem);
    return {
        giving("FileItem(FileLocation)", [] { return FileItem(Here("file")); }),
        giving("FileItem::Fill(parent, name)",
               [] {
                   FileItem item;
                   item.Fill(MakeFileLocation(longDirectory.c_str()),
                             UnixPlatform::FileName(longName));
                   return item;
               }),
        OnDisk("FileItem, refused", [] { FileItem(Here("missing")); }),
        InPart("FileItem::Checksum, refused",
               [] {
                   FileItem const item(Here("file"));
                   std::remove(Here("file").Text());
                   static_cast<void>(item.Checksum());
               }),
        OnDisk("FileItem::SetModificationTime, refused",
               [] { FileItem().SetModificationTime(Instant(5)); }),
    };
}

// The name of what was created is the system's choice, so it is removed. What could not be told of
// for lack of memory stays.
template <class Create>
Operation Creating(std::string const& name, Create create) {
    return InPartOr({"CreateUniqueFileLocationFailed"}, name,
                    [create] { std::remove(create().Text()); });
}

Operations OfTemporaries() {
    static std::string const prefix(140, 'p');
    static FileLocation const directory = MakeFileLocation(longDirectory.c_str());
    return {
        Operation::Giving(
            "UISessionDefaultDirectory", [] { return UISessionDefaultDirectory(prefix); },
            ShowLocation),
        Creating("CreateUniqueFileLocation(directory)",
                 [] { return CreateUniqueFileLocation(directory, "a"); }),
        Creating("CreateUniqueDirLocation", [] { return CreateUniqueDirLocation(directory, "a"); }),
        Creating("CreateUniqueFileLocation(prefix)",
                 [] { return CreateUniqueFileLocation(prefix.c_str()); }),
        Creating("CreateUniqueFileLocationWithHint",
                 [] { return CreateUniqueFileLocationWithHint(Here("file"), "a"); }),
        InPart("LocationForTemporaryFile(hint)",
               [] { static_cast<void>(LocationForTemporaryFile(Here("file"))); }),
        // False, with the location as it was.
        InPartOr({""}, "MakeTemporaryFileLocation",
                 [] {
                     FileLocation made;
                     if (MakeTemporaryFileLocation(made, prefix.c_str()))
                         std::remove(made.Text());
                 }),
    };
}

} // namespace

std::size_t Torture::FailAllocationsOfFiles() {
    Disk const disk;
    return FailEachOf("files", Join({OfNames(), OfLocations(), OfErrors(), OfSingleFiles(),
                                     OfTrees(), OfRetries(), OfOpenFiles(), OfFileStreams(),
                                     OfDirectories(), OfItems(), OfTemporaries()}));
}
