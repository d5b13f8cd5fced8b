// Creating, removing, copying and moving.
#include "tests/stress/SystemCallsOperations.h"

#include "files/FileLoop.h"
#include "files/FileOperations.h"
#include "files/FileRetry.h"
#include "files/FileTrees.h"
#include "files/TemporaryLocations.h"

namespace {

FileRetryLog const noLog;

template <class Operation>
auto Retrying(Operation operation) {
    return [operation](FileLocation const& from, FileLocation const& to) -> std::string {
        if constexpr (std::is_invocable_v<Operation, FileLocation const&, FileRetryLog const&>)
            operation(from, noLog);
        else
            operation(from, to, noLog);
        return {};
    };
}

// Removes the new entry, whose name the system chooses.
void Remove(FileLocation const& made) { std::filesystem::remove(made.Text()); }

Outcome FreeStanding(std::string const& name) { return Maps(Mapper::freeStanding, name); }

} // namespace

std::vector<Operation> Creations() {
    CallFailure const unseen = {"lstat", {goesOn}};
    return {
        Operation("CreateFile", MakeNothing, CC_CALLING(CreateFile(to, FileCreatingInfo{0600})),
                  "; to", {unseen, {"fopen", {freeTo}}, {"chmod", {freeTo}}}),
        // Deliberate: the file of the attempt that could not set the permissions obstructs the next
        // attempt.
        Operation(
            "CreateFileWithRetry", MakeNothing,
            CC_CALLING(CreateFileWithRetry(to, FileCreatingInfo{0600}, noLog)), "; to",
            {unseen, {"fopen", {goesOn}, {freeTo}}, {"chmod", {Throws("FileFoundError", "to")}}}),
        Operation("CreateDirectory", MakeNothing, CC_CALLING(CreateDirectory(to, {})), "; to",
                  {unseen, {"mkdir", {freeTo}}}),
        Operation("CreateDirectoryWithRetry", MakeNothing,
                  CC_CALLING(CreateDirectoryWithRetry(to, {}, noLog)), "; to",
                  {unseen, {"mkdir", {goesOn}, {freeTo}}}),
        Operation("ForceDirectoryExistence", MakeNothing,
                  CC_CALLING(ForceDirectoryExistence(to, {})), "; to",
                  {unseen, {"mkdir", {freeTo}}}),
        // A directory that is not found is created, and obstructs the operation.
        Operation("ForceDirectoryExistenceOfAnExistingOne", MakeEmptyDirectory,
                  CC_CALLING(ForceDirectoryExistence(from, {})), "; from",
                  {{"lstat", {Throws("FileIOError EEXIST", "from")}}}),
        Operation("CreateDirectoryTree", MakeNothing,
                  CC_CALLING(CreateDirectoryTree(to.Relative("newer"))), "; to to/newer",
                  {{"lstat", {goesOn}, {rootIsThere}},
                   {"mkdir to", {freeTo}},
                   {"mkdir to/newer", {FreeStanding("to/newer")}}}),
        Operation("CreateUniqueFileLocation", MakeEmptyDirectory,
                  CC_CALLING(Remove(CreateUniqueFileLocation(from, "x"))), "; from",
                  {{"mkstemp", {Throws("CreateUniqueFileLocationFailed")}}, {"close", {goesOn}}}),
        Operation("CreateUniqueDirLocation", MakeEmptyDirectory,
                  CC_CALLING(Remove(CreateUniqueDirLocation(from, "x"))), "; from",
                  {{"mkdtemp", {Throws("CreateUniqueFileLocationFailed EPERM")}}}),
    };
}

std::vector<Operation> Deletions() {
    Outcome const allStays = Gives("; from from/a from/b");
    // An entry that is not found remains, so removing its directory fails.
    CallFailures const tree = {
        {"scandir from", {notEmpty}},
        {"scandir from/b", {goesOn}},
        {"lstat from/a", {FreeStanding("from/a"), notEmpty}},
        {"lstat from/b", {FreeStanding("from/b"), Throws("DirectoryNotFoundError", "from/b")}},
        {"unlink", {FreeStanding("from/a")}},
        {"rmdir from/b", {FreeStanding("from/b")}},
        {"rmdir from", {freeFrom}}};
    CallFailures contents = tree;
    contents.pop_back();
    contents[0].once = {allStays};
    contents[2].once = {FreeStanding("from/a"), Gives("; from from/a")};
    return {
        Operation("DeleteFile", MakeFile, Calling(DeleteFile), ";", {{"unlink", {freeFrom}}}),
        Operation("DeleteFileWithRetry", MakeFile, Retrying(DeleteFileWithRetry), ";",
                  {{"unlink", {goesOn}, {freeFrom}}}),
        Operation("DeleteDirectory", MakeEmptyDirectory, Calling(DeleteDirectory), ";",
                  {{"lstat", {noDirectory}}, {"rmdir", {freeFrom}}}),
        Operation("DeleteDirectoryWithRetry", MakeEmptyDirectory,
                  Retrying(DeleteDirectoryWithRetry), ";",
                  {{"lstat", {goesOn}, {noDirectory}}, {"rmdir", {goesOn}, {freeFrom}}}),
        // An entry that is not found remains, without an error.
        Operation("ForceNonexistence", MakeFile, Calling(ForceNonexistence), ";",
                  {{"lstat", {Gives("; from")}}, {"unlink", {freeFrom}}}),
        Operation("ForceNonexistenceOfADirectory", MakeEmptyDirectory, Calling(ForceNonexistence),
                  ";", {{"lstat", {Gives("; from"), noDirectory}}, {"rmdir", {freeFrom}}}),
        Operation("ForceNonexistenceWithRetry", MakeFile, Retrying(ForceNonexistenceWithRetry), ";",
                  {{"lstat", {Gives("; from")}}, {"unlink", {goesOn}, {freeFrom}}}),
        Operation("DeleteRecursive", MakeDeepTree, Calling(DeleteRecursive), ";",
                  tree + CallFailures{{"lstat from", {noDirectory}}}),
        Operation("DeleteContents", MakeDeepTree, Calling(DeleteContents), "; from",
                  contents + CallFailures{{"lstat from", {noDirectory}}}),
        Operation("ForceDeleteRecursive", MakeDeepTree, Calling(ForceDeleteRecursive), ";",
                  tree + CallFailures{{"lstat from", {noDirectory, allStays}}}),
        Operation("ForceDeleteContents", MakeDeepTree, Calling(ForceDeleteContents), "; from",
                  contents + CallFailures{{"lstat from", {noDirectory, allStays}}}),
    };
}

namespace {

Outcome const writerNone = Maps(Mapper::writer);
Outcome const closedNone = Maps(Mapper::readingPath);

// The copy of "from" to "to". The writing path has no name.
CallFailures const copied = CallFailures{{"open", {Maps(Mapper::writingPath, "to"), readingFrom}},
                                         {"setfd", {goesOn}},
                                         {"read", {readerFrom}},
                                         {"write", {writerNone}},
                                         {"close", {closedNone, readingFrom}}} +
                            Sought({readingFrom, readerFrom, writerNone}, {endOfLoop, goesOn});

// A copy with retries. The file of an attempt obstructs the next one.
CallFailures CopiedWithRetry(std::string const& to) {
    Outcome const isThere = Throws("FileExistsError", to);
    return CallFailures{{"open", {isThere, goesOn}, {Maps(Mapper::writingPath, to)}},
                        {"setfd", {goesOn}},
                        {"read", {isThere}},
                        {"write", {isThere}},
                        {"close", {isThere}}} +
           Sought({isThere}, {goesOn});
}

// A refused rename counts as successful, whatever the error number, except for different file
// systems: then the file is copied.
CallFailures const renamed = {{"rename", {Gives("; from")}}, {"rename", {goesOn}, {}, EXDEV}};

CallFailure const unseenTo = {"lstat to", {goesOn}};

// The copy of a tree with the file "a": its target is created like any tree.
CallFailures const treeCopied = CallFailures{{"lstat to", {goesOn}, {rootIsThere}},
                                             {"lstat .", {goesOn}, {rootIsThere}},
                                             {"lstat to/a", {goesOn}},
                                             {"mkdir", {freeTo}}} +
                                CopiedWithRetry("to/a");
Outcome const noA = Throws("FileNotFoundError", "from/a");

} // namespace

std::vector<Operation> CopiesAndMoves() {
    return {
        Operation("CopyFile", MakeFile, Calling(CopyFile), "; from to",
                  copied + CallFailures{{"lstat from", {noFrom, goesOn}}, unseenTo}),
        Operation("CopyFileWithRetry", MakeFile, Retrying(CopyFileWithRetry), "; from to",
                  CopiedWithRetry("to") +
                      CallFailures{{"lstat from", {goesOn}, {noFrom}}, unseenTo}),
        Operation("ForceCopyFile", MakeBoth, Calling(ForceCopyFile), "; from to",
                  copied +
                      CallFailures{{"lstat from", {noFrom, goesOn}},
                                   {"lstat to", {Throws("FileExistsError EEXIST", "to"), goesOn}},
                                   {"unlink", {freeTo}}}),
        // Every attempt first removes the target.
        Operation("ForceCopyFileWithRetry", MakeBoth, Retrying(ForceCopyFileWithRetry), "; from to",
                  {{"lstat", {goesOn}, {noFrom}},
                   {"unlink", {goesOn}, {freeTo}},
                   {"open", {goesOn}, {Maps(Mapper::writingPath, "to")}},
                   {"setfd", {goesOn}},
                   {"seek", {goesOn}, {readingFrom}},
                   {"read", {goesOn}, {readerFrom}},
                   {"write", {goesOn}, {writerNone}},
                   {"close", {goesOn}, {closedNone}}}),
        Operation("MoveFile", MakeFile, Calling(MoveFile), "; to",
                  renamed + CallFailures{{"lstat from", {noFrom}}, unseenTo}),
        Operation("MoveFileWithRetry", MakeFile, Retrying(MoveFileWithRetry), "; to",
                  renamed + CallFailures{{"lstat from", {goesOn}, {noFrom}}, unseenTo}),
        Operation("ForceMoveFile", MakeBoth, Calling(ForceMoveFile), "; to",
                  renamed +
                      CallFailures{{"lstat from", {noFrom, vanished}},
                                   {"lstat to", {Throws("FileFoundError", "to"), vanished, goesOn}},
                                   {"unlink", {freeTo}}}),
        Operation("MoveFileAcross", MakeFile, Calling(MoveFile), "; to",
                  copied + CallFailures{{"lstat from", {noFrom, vanished, goesOn}},
                                        unseenTo,
                                        {"unlink", {freeFrom}}},
                  EXDEV),
    };
}

std::vector<Operation> Trees() {
    return {
        Operation("CopyDirectoryContents", MakeTree, Calling(CopyDirectoryContents),
                  "; from from/a to to/a",
                  treeCopied +
                      CallFailures{{"lstat from", {noDirectory, vanished}},
                                   {"scandir", {Gives("; from from/a to")}},
                                   {"lstat from/a", {FreeStanding("from/a"), goesOn}, {noA}}}),
        // Deliberate: a directory that cannot be listed counts as empty. If the copy cannot list it
        // but the removal can, the content is lost.
        Operation(
            "MoveDirectoryAcross", MakeTree, Calling(MoveFile), "; to to/a",
            treeCopied +
                CallFailures{{"lstat from", {noFrom, vanished, noDirectory}},
                             {"scandir", {Gives("; to"), notEmpty}},
                             {"lstat from/a", {FreeStanding("from/a"), notEmpty, goesOn}, {noA}},
                             {"unlink", {FreeStanding("from/a")}},
                             {"rmdir", {freeFrom}}},
            EXDEV),
        Operation("FileLoop", MakeDeepTree, Calling([](auto& from, auto&) {
                      std::string names;
                      for (FileLoop loop(from, nullptr, false); loop.HasItem(); ++loop)
                          names += MakeString(loop->Location().Name().Bytes());
                      return names;
                  }),
                  "ab; from from/a from/b",
                  {{"scandir", {Gives("; from from/a from/b")}},
                   {"lstat from/a", {FreeStanding("from/a")}},
                   {"lstat from/b", {FreeStanding("from/b")}}}),
    };
}
