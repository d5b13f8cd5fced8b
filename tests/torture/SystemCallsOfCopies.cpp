// What goes from one place to another: files and whole directories.
#include "tests/torture/SystemCallsSteps.h"

#include <cerrno>

#include "files/FileLocation.h"
#include "files/FileLoop.h"
#include "files/FileOperations.h"
#include "files/FileRetry.h"
#include "files/FileTrees.h"

namespace SystemCallsSteps {

// A refused rename counts as done, whatever the number, but for the one that says that the places
// are on different file systems: then the file is copied.
Step Renamed(std::string const& refused) {
    return Step("rename", Gives(refused)).For(EXDEV, GoesOn()).LastingFor(EXDEV, GoesOn());
}

std::vector<Operation> CopiesAndMoves() {
    Outcome const freeTo = Maps(Mapper::freeStanding, "to");
    Outcome const toIsThere = Throws("FileExistsError", "to", EEXIST);
    Outcome const toFound = Throws("FileFoundError", "to", 0);
    Outcome const vanished = Throws("InvalidStats", none, 0);
    Steps const copiedAcross =
        Steps{{"lstat", noFrom}, {"lstat", GoesOn()}} + copied + Steps{{"unlink", freeFrom}};
    Steps const forced = {{"lstat", noFrom},
                          Step("lstat", toFound).Lasting(noFrom),
                          {"lstat", vanished},
                          {"lstat", vanished},
                          Step("lstat", toFound).Lasting(noFrom),
                          {"unlink", freeTo},
                          {"lstat", noFrom},
                          {"lstat", GoesOn()},
                          Renamed("; from")};
    return {
        {"CopyFile", MakeFile, On(CopyFile), "; from to",
         Steps{{"lstat", noFrom}, {"lstat", GoesOn()}} + copied},
        // Deliberate: what an attempt has written stands in the way of the next one.
        {"CopyFileWithRetry", MakeFile,
         [](std::string const& place) {
             CopyFileWithRetry(From(place), To(place), FileRetryLog());
             return none;
         },
         "; from to",
         Steps{Step("lstat", GoesOn()).Lasting(noFrom),
               {"lstat", GoesOn()},
               Step("open", GoesOn()).Lasting(Maps(Mapper::writingPath, "to")),
               {"setfd", GoesOn()}} +
             AllComeTo(Throws("FileExistsError", "to", 0),
                       Steps(copied.begin() + 2, copied.end()))},
        {"ForceCopyFile", MakeBoth, On(ForceCopyFile), "; from to",
         Steps{{"lstat", noFrom}, {"lstat", toIsThere}, {"unlink", freeTo}} + copied},
        // Every attempt clears the way first.
        {"ForceCopyFileWithRetry", MakeBoth,
         [](std::string const& place) {
             ForceCopyFileWithRetry(From(place), To(place), FileRetryLog());
             return none;
         },
         "; from to",
         Steps{Step("lstat", GoesOn()).Lasting(noFrom), Step("lstat", GoesOn()).Lasting(noFrom),
               Step("unlink", GoesOn()).Lasting(freeTo)} +
             Retried(copied, {{"open", Maps(Mapper::writingPath, "to")},
                              {"seek", Maps(Mapper::readingPath, "from")},
                              {"read", Maps(Mapper::reader, "from")},
                              {"write", Maps(Mapper::writer, none)},
                              {"close", Maps(Mapper::readingPath, none)}})},
        {"MoveFile",
         MakeFile,
         On(MoveFile),
         "; to",
         {{"lstat", noFrom}, {"lstat", GoesOn()}, Renamed("; from")}},
        {"MoveFileWithRetry",
         MakeFile,
         [](std::string const& place) {
             MoveFileWithRetry(From(place), To(place), FileRetryLog());
             return none;
         },
         "; to",
         {Step("lstat", GoesOn()).Lasting(noFrom), {"lstat", GoesOn()}, Renamed("; from")}},
        {"ForceMoveFile", MakeBoth, On(ForceMoveFile), "; to", forced},
        {"MoveFileAcross", MakeFile, On(MoveFile), "; to",
         Steps{{"lstat", noFrom}, {"lstat", GoesOn()}, {"rename", GoesOn()}, {"lstat", vanished}} +
             copiedAcross,
         EXDEV},
    };
}

// A directory that goes to another file system: copied as a tree, with retries for each file, and
// deleted. What an attempt at a file has written stands in the way of the next one.
Steps const treeCopied = Steps{{"lstat", noDirectory},
                               {"lstat", Throws("InvalidStats", none, 0)},
                               Step("lstat", GoesOn()).Lasting(rootIsThere),
                               Step("lstat", GoesOn()).Lasting(rootIsThere),
                               {"lstat", GoesOn()},
                               {"mkdir", Maps(Mapper::freeStanding, "to")}};

Outcome const noA = Throws("FileNotFoundError", "from/a", 0);

Steps const entryCopied =
    Steps{{"lstat", Maps(Mapper::freeStanding, "from/a")},
          Step("lstat", GoesOn()).Lasting(noA),
          {"lstat", GoesOn()},
          Step("open", GoesOn()).Lasting(Maps(Mapper::writingPath, "to/a")),
          {"setfd", GoesOn()}} +
    AllComeTo(Throws("FileExistsError", "to/a", 0), Steps(copied.begin() + 2, copied.end()));

std::vector<Operation> Trees() {
    Outcome const freeA = Maps(Mapper::freeStanding, "from/a");
    return {
        {"CopyDirectoryContents", MakeTree, On(CopyDirectoryContents), "; from from/a to to/a",
         treeCopied + Steps{{"scandir", Gives("; from from/a to")}} + entryCopied},
        // Deliberate: a directory that can't be listed counts as empty. Where that is so for the
        // copy, but no more for the deletion, the content is lost.
        {"MoveDirectoryAcross", MakeTree, On(MoveFile), "; to to/a",
         Steps{{"lstat", noFrom},
               {"lstat", GoesOn()},
               {"rename", GoesOn()},
               {"lstat", Throws("InvalidStats", none, 0)},
               {"lstat", Throws("InvalidStats", none, 0)}} +
             treeCopied + Steps{Step("scandir", Gives("; to")).Lasting(notEmpty)} + entryCopied +
             Steps{{"lstat", noDirectory},
                   {"scandir", notEmpty},
                   {"lstat", freeA},
                   Step("lstat", notEmpty).Lasting(noDirectory),
                   {"unlink", freeA},
                   {"lstat", noDirectory},
                   {"rmdir", freeFrom}},
         EXDEV},
        {"FileLoop",
         MakeDeepTree,
         [](std::string const& place) {
             std::string names;
             for (FileLoop loop(From(place), nullptr, false); loop.HasItem(); ++loop)
                 names += MakeString(loop->Location().Name().Bytes());
             return names;
         },
         "ab; from from/a from/b",
         {{"scandir", Gives("; from from/a from/b")},
          {"lstat", freeA},
          {"lstat", Maps(Mapper::freeStanding, "from/b")}}},
    };
}

} // namespace SystemCallsSteps
