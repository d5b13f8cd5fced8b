// Reading and copying files, compared with a bare loop of the same system calls,
// copy_file_range(2) and cp(1).
//
// The name of an operation ends with the type of the file system of TMPDIR, by default /dev/shm.
// The bare loop makes only the system calls of "ours", in the same order, so the ratio is the
// overhead of the classes. Three calls of lseek(2) determine the length before each read. They look
// redundant, but are necessary, because a file may grow or shrink while it is read.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "bench/Bench.h"
#include "bench/Inputs.h"
#include "bench/RunProgram.h"
#include "data/Buffer.h"
#include "files/FileLocation.h"
#include "files/FileOperations.h"
#include "files/FileReadingLoop.h"
#include "files/FileReadingPath.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

struct Files {
    explicit Files(std::size_t byteCount) : size(byteCount) {
        Inputs::Numbers numbers(1);
        std::string bytes(size, '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(numbers.Next() >> 56);
        std::ofstream(source, std::ios::binary) << bytes;
    }

    TemporaryDirectory directory;
    std::string const source = directory / "source";
    std::string const target = directory / "target";
    std::size_t const size;
};

std::string Content(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Returns the result of a system call. Throws std::system_error if it is negative.
template <class Result>
Result Checked(Result result) {
    if (result < 0)
        throw std::system_error(errno, std::generic_category());
    return result;
}

int OpenBare(std::string const& path, int flags) {
    int const descriptor = Checked(open(path.c_str(), flags, 0666));
    Checked(fcntl(descriptor, F_SETFD, FD_CLOEXEC));
    return descriptor;
}

off_t LengthBare(int descriptor) {
    off_t const position = Checked(lseek(descriptor, 0, SEEK_CUR));
    off_t const length = Checked(lseek(descriptor, 0, SEEK_END));
    Checked(lseek(descriptor, position, SEEK_SET));
    return length;
}

// ReadBare and ReadOurs call `take` with each chunk.
template <std::size_t chunkSize, class Take>
void ReadBare(int descriptor, Take take) {
    char chunk[chunkSize];
    off_t const stop = LengthBare(descriptor);
    LengthBare(descriptor);
    for (off_t position = 0; position < stop;) {
        LengthBare(descriptor);
        Checked(lseek(descriptor, position, SEEK_SET));
        ssize_t const count = Checked(read(descriptor, chunk, sizeof chunk));
        take(chunk, static_cast<std::size_t>(count));
        position += count;
    }
}

template <std::size_t chunkSize, class Take>
void ReadBareFile(Files const& files, Take take) {
    int const descriptor = OpenBare(files.source, O_RDONLY);
    ReadBare<chunkSize>(descriptor, take);
    Checked(close(descriptor));
}

template <std::size_t chunkSize, class Take>
void ReadOurs(Files const& files, Take take) {
    FileReadingPath path(MakeFileLocation(files.source.c_str()));
    unsigned char chunk[chunkSize];
    for (FileReadingLoop loop(Data(chunk), path, 0); loop.Remaining() != 0; ++loop)
        take(reinterpret_cast<char const*>(loop.Chunk().begin), loop.Chunk().Length());
    path.Close();
}

// The timed work accesses each chunk, but not its bytes, because only reading is measured.
struct ChunkCounter {
    void operator()(char const* chunk, std::size_t size) {
        benchmark::DoNotOptimize(chunk);
        total += size;
    }
    std::size_t& total;
};

std::size_t ReadOursCounting(Files const& files) {
    std::size_t total = 0;
    ReadOurs<65568>(files, ChunkCounter{total});
    return total;
}

std::size_t ReadBareCounting(Files const& files) {
    std::size_t total = 0;
    ReadBareFile<65568>(files, ChunkCounter{total});
    return total;
}

std::string ReadOursWhole(Files const& files) {
    std::string bytes;
    ReadOurs<65568>(files, [&](char const* chunk, std::size_t size) { bytes.append(chunk, size); });
    return bytes;
}

std::string ReadBareWhole(Files const& files) {
    std::string bytes;
    ReadBareFile<65568>(files,
                        [&](char const* chunk, std::size_t size) { bytes.append(chunk, size); });
    return bytes;
}

void CopyOurs(Files const& files) {
    CopyFile(MakeFileLocation(files.source.c_str()), MakeFileLocation(files.target.c_str()));
}

void WriteBare(int descriptor, off_t position, char const* bytes, std::size_t size) {
    while (size != 0) {
        Checked(lseek(descriptor, position, SEEK_SET));
        ssize_t const count = Checked(write(descriptor, bytes, size));
        position += count;
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
}

void CopyBare(Files const& files) {
    struct stat stats;
    Checked(lstat(files.source.c_str(), &stats));
    if (lstat(files.target.c_str(), &stats) == 0)
        throw std::runtime_error("the target exists already");
    int const target = OpenBare(files.target, O_RDWR | O_CREAT | O_EXCL);
    int const source = OpenBare(files.source, O_RDONLY);
    off_t position = 0;
    ReadBare<65536>(source, [&](char const* chunk, std::size_t size) {
        WriteBare(target, position, chunk, size);
        position += static_cast<off_t>(size);
    });
    Checked(close(target));
    Checked(close(source));
    Checked(lstat(files.source.c_str(), &stats));
    Checked(lstat(files.target.c_str(), &stats));
}

void CopyInKernel(Files const& files) {
    int const target = Checked(open(files.target.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0666));
    int const source = Checked(open(files.source.c_str(), O_RDONLY));
    std::size_t left = files.size;
    while (left != 0)
        left -= static_cast<std::size_t>(
            Checked(copy_file_range(source, nullptr, target, nullptr, left, 0)));
    Checked(close(target));
    Checked(close(source));
}

// The time includes the start of the program, which dominates for small files.
double CopyByCp(Files const& files) {
    EndedProgram const ended = RunProgram({"cp", files.source.c_str(), files.target.c_str()});
    if (ended.status != 0)
        throw std::runtime_error("cp failed");
    return ended.processorSeconds;
}

double ProcessorSeconds() {
    timespec now;
    Checked(clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now));
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Returns the processor time of the copy in seconds, without the removal of the target.
template <void (*copy)(Files const&)>
double Time(Files const& files) {
    double const start = ProcessorSeconds();
    copy(files);
    double const stop = ProcessorSeconds();
    Checked(unlink(files.target.c_str()));
    return stop - start;
}

double TimeCp(Files const& files) {
    double const seconds = CopyByCp(files);
    Checked(unlink(files.target.c_str()));
    return seconds;
}

template <auto copy>
std::string CopyAndReadBack(Files const& files) {
    copy(files);
    std::string content = Content(files.target);
    Checked(unlink(files.target.c_str()));
    return content;
}

std::string FileSystem() {
    constexpr unsigned long overlay = 0x794C7630;
    struct statfs stats;
    Checked(statfs(std::getenv("TMPDIR"), &stats));
    switch (static_cast<unsigned long>(stats.f_type)) {
    case 0x01021994:
        return "tmpfs";
    case 0xEF53:
        return "ext4";
    case 0x58465342:
        return "xfs";
    case 0x9123683E:
        return "btrfs";
    case overlay:
        return "overlay";
    default:
        char number[32];
        std::snprintf(number, sizeof number, "%lx", static_cast<unsigned long>(stats.f_type));
        return number;
    }
}

void AddOperations(std::size_t size, std::string const& label) {
    auto const files = [size]() -> Files const& {
        static std::unique_ptr<Files> made;
        if (!made || made->size != size)
            made = std::make_unique<Files>(size);
        return *made;
    };
    auto const byteCount = [](Files const& made) {
        return made.size;
    };
    std::string const suffix = label + "-" + FileSystem();

    Operation<Files> reading("Files/read-" + suffix, files, byteCount);
    reading.Add("ours", ReadOursCounting, ReadOursWhole);
    reading.Add("bare-loop", ReadBareCounting, ReadBareWhole);
    Operation<Files> copying("Files/copy-" + suffix, files, byteCount);
    copying.AddSelfTimed("ours", Time<CopyOurs>, CopyAndReadBack<CopyOurs>);
    copying.AddSelfTimed("bare-loop", Time<CopyBare>, CopyAndReadBack<CopyBare>);
    copying.AddSelfTimed("copy_file_range", Time<CopyInKernel>, CopyAndReadBack<CopyInKernel>);
    copying.AddSelfTimed("cp", TimeCp, CopyAndReadBack<CopyByCp>);
}

} // namespace

void RegisterOperations() {
    setenv("TMPDIR", access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp", 0);
    AddOperations(std::size_t{4} << 10, "4KiB");
    AddOperations(std::size_t{1} << 20, "1MiB");
    AddOperations(std::size_t{64} << 20, "64MiB");
}
