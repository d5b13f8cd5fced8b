// What comes to be and goes: files, directories and temporary locations.
#include "tests/torture/SystemCallsSteps.h"

#include <cerrno>
#include <filesystem>

#include "files/FileLocation.h"
#include "files/FileOperations.h"
#include "files/FileRetry.h"
#include "files/FileTrees.h"
#include "files/TemporaryLocations.h"

namespace SystemCallsSteps {

std::vector<Operation> Creations() {
    Outcome const freeNew = Maps(Mapper::freeStanding, "new");
    Outcome const freeNewer = Maps(Mapper::freeStanding, "new/newer");
    return {
        {"CreateFile",
         MakeNothing,
         [](std::string const& place) {
             CreateFile(At(place, "new"), FileCreatingInfo{0600});
             return none;
         },
         "; new",
         {{"lstat", GoesOn()}, {"fopen", freeNew}, {"chmod", freeNew}}},
        // Deliberate: the file of the attempt that could not set the permissions stands in the way
        // of the next one.
        {"CreateFileWithRetry",
         MakeNothing,
         [](std::string const& place) {
             CreateFileWithRetry(At(place, "new"), FileCreatingInfo{0600}, FileRetryLog());
             return none;
         },
         "; new",
         {{"lstat", GoesOn()},
          Step("fopen", GoesOn()).Lasting(freeNew),
          {"chmod", Throws("FileFoundError", "new", 0)}}},
        {"CreateDirectory",
         MakeNothing,
         [](std::string const& place) {
             CreateDirectory(At(place, "new"), DirectoryCreatingInfo());
             return none;
         },
         "; new",
         {{"lstat", GoesOn()}, {"mkdir", freeNew}}},
        {"CreateDirectoryWithRetry",
         MakeNothing,
         [](std::string const& place) {
             CreateDirectoryWithRetry(At(place, "new"), DirectoryCreatingInfo(), FileRetryLog());
             return none;
         },
         "; new",
         {{"lstat", GoesOn()}, Step("mkdir", GoesOn()).Lasting(freeNew)}},
        {"ForceDirectoryExistence",
         MakeNothing,
         [](std::string const& place) {
             ForceDirectoryExistence(At(place, "new"), DirectoryCreatingInfo());
             return none;
         },
         "; new",
         {{"lstat", GoesOn()}, {"mkdir", freeNew}}},
        // A directory that is not seen is made, and in the way of that.
        {"ForceDirectoryExistenceOfWhatIsThere",
         MakeEmptyDirectory,
         [](std::string const& place) {
             ForceDirectoryExistence(From(place), DirectoryCreatingInfo());
             return none;
         },
         "; from",
         {{"lstat", Throws("FileIOError", "from", EEXIST)}}},
        {"CreateDirectoryTree",
         MakeNothing,
         [](std::string const& place) {
             CreateDirectoryTree(At(place, "new/newer"));
             return none;
         },
         "; new new/newer",
         {Step("lstat", GoesOn()).Lasting(rootIsThere),
          Step("lstat", GoesOn()).Lasting(rootIsThere),
          Step("lstat", GoesOn()).Lasting(rootIsThere),
          {"lstat", GoesOn()},
          {"mkdir", freeNew},
          {"lstat", GoesOn()},
          {"mkdir", freeNewer}}},
        {"CreateUniqueFileLocation",
         MakeEmptyDirectory,
         [](std::string const& place) {
             fs::remove(MakeString(CreateUniqueFileLocation(From(place), "x").Bytes()));
             return none;
         },
         "; from",
         {{"mkstemp", Throws("CreateUniqueFileLocationFailed", none, 0)}, {"close", GoesOn()}}},
        {"CreateUniqueDirLocation",
         MakeEmptyDirectory,
         [](std::string const& place) {
             fs::remove(MakeString(CreateUniqueDirLocation(From(place), "x").Bytes()));
             return none;
         },
         "; from",
         {{"mkdtemp", Throws("CreateUniqueFileLocationFailed", none, 1)}}},
    };
}

std::vector<Operation> Deletions() {
    Outcome const freeA = Maps(Mapper::freeStanding, "from/a");
    Outcome const freeB = Maps(Mapper::freeStanding, "from/b");
    Outcome const noB = Throws("DirectoryNotFoundError", "from/b", 0);
    // An entry that is not seen when it is to go stays, which shows when the directory is to go.
    Steps const contents = {
        {"scandir", notEmpty}, {"lstat", freeA}, Step("lstat", notEmpty).Lasting(freeB),
        {"unlink", freeA},     {"lstat", freeB}, {"scandir", GoesOn()},
        {"lstat", noB},        {"rmdir", freeB}};
    Steps const tree = Steps{{"lstat", noDirectory}} + contents +
                       Steps{{"lstat", noDirectory}, {"rmdir", freeFrom}};
    Steps justContents = Steps{{"lstat", noDirectory}} + contents;
    justContents[1] = Step("scandir", Gives("; from from/a from/b"));
    justContents[3] = Step("lstat", Gives("; from from/a")).Lasting(freeB);
    return {
        {"DeleteFile", MakeFile, On(DeleteFile), ";", {{"unlink", freeFrom}}},
        {"DeleteFileWithRetry",
         MakeFile,
         [](std::string const& place) {
             DeleteFileWithRetry(From(place), FileRetryLog());
             return none;
         },
         ";",
         {Step("unlink", GoesOn()).Lasting(freeFrom)}},
        {"DeleteDirectory",
         MakeEmptyDirectory,
         On(DeleteDirectory),
         ";",
         {{"lstat", noDirectory}, {"rmdir", freeFrom}}},
        {"DeleteDirectoryWithRetry",
         MakeEmptyDirectory,
         [](std::string const& place) {
             DeleteDirectoryWithRetry(From(place), FileRetryLog());
             return none;
         },
         ";",
         {Step("lstat", GoesOn()).Lasting(noDirectory), Step("rmdir", GoesOn()).Lasting(freeFrom)}},
        // What is not seen stays, without an error.
        {"ForceNonexistence",
         MakeFile,
         On(ForceNonexistence),
         ";",
         {{"lstat", Gives("; from")}, {"unlink", freeFrom}}},
        {"ForceNonexistenceOfADirectory",
         MakeEmptyDirectory,
         On(ForceNonexistence),
         ";",
         {{"lstat", Gives("; from")}, {"lstat", noDirectory}, {"rmdir", freeFrom}}},
        {"ForceNonexistenceWithRetry",
         MakeFile,
         [](std::string const& place) {
             ForceNonexistenceWithRetry(From(place), FileRetryLog());
             return none;
         },
         ";",
         {{"lstat", Gives("; from")}, Step("unlink", GoesOn()).Lasting(freeFrom)}},
        {"DeleteRecursive", MakeDeepTree, On(DeleteRecursive), ";", tree},
        {"DeleteContents", MakeDeepTree, On(DeleteContents), "; from", justContents},
        {"ForceDeleteRecursive", MakeDeepTree, On(ForceDeleteRecursive), ";",
         Steps{{"lstat", Gives("; from from/a from/b")}} + tree},
        {"ForceDeleteContents", MakeDeepTree, On(ForceDeleteContents), "; from",
         Steps{{"lstat", Gives("; from from/a from/b")}} + justContents},
    };
}

} // namespace SystemCallsSteps
