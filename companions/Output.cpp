#include "companions/Output.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include <fcntl.h>
#include <langinfo.h>
#include <locale.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "companions/StopSignals.h"

namespace {

constexpr std::size_t bufferSize = 64 * 1024;
constexpr std::chrono::milliseconds pauseBeforeRetry(10);

mode_t TypeOf(int descriptor) {
    struct stat facts {};
    return fstat(descriptor, &facts) == 0 ? facts.st_mode & S_IFMT : 0;
}

bool IsOpenForWriting(int descriptor) {
    int const flags = fcntl(descriptor, F_GETFL);
    return flags >= 0 && (flags & O_ACCMODE) != O_RDONLY;
}

// Reopening a pseudo-terminal master (/dev/ptmx) would create another terminal.
bool IsPseudoTerminalMaster(int descriptor) {
    std::array<char, 64> name{};
    return ptsname_r(descriptor, name.data(), name.size()) == 0;
}

// Reopens a pipe or a terminal with O_NONBLOCK, because setting that flag on the descriptor would
// affect other processes. Returns the descriptor itself for other files, if it is not open for
// writing, and on failure.
int ReopenWithoutBlocking(int descriptor) {
    bool const isTerminal = isatty(descriptor) == 1 && !IsPseudoTerminalMaster(descriptor);
    bool const isUseful = isTerminal || TypeOf(descriptor) == S_IFIFO;
    if (!isUseful || !IsOpenForWriting(descriptor))
        return descriptor;
    std::string const path = "/proc/self/fd/" + std::to_string(descriptor);
    int const reopened = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    // cppcheck-suppress resourceLeak ; the destructor of Output closes it
    return reopened < 0 ? descriptor : reopened;
}

} // namespace

// Does not change the locale of the process, which the library uses to convert text.
CharacterSet CharacterSetOfLocale() {
    locale_t const locale = newlocale(LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr)
        return CharacterSet::ascii;
    // Not nl_langinfo_l(3), which ignores its locale in a static program.
    locale_t const former = uselocale(locale);
    bool const isUtf8 = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
    uselocale(former);
    freelocale(locale);
    return isUtf8 ? CharacterSet::unicode : CharacterSet::ascii;
}

Output::Output(int theDescriptor)
    : descriptor(theDescriptor),
      terminal(isatty(theDescriptor) == 1),
      characters(terminal ? CharacterSetOfLocale() : CharacterSet::unicode),
      mayBlock(TypeOf(theDescriptor) != S_IFREG),
      target(ReopenWithoutBlocking(theDescriptor)) {}

Output::~Output() {
    if (target != descriptor)
        close(target);
}

std::size_t Output::Width() const {
    if (char const* const text = std::getenv("COLUMNS")) {
        std::string_view const digits = text;
        std::size_t columns = 0;
        auto const [end, failure] =
            std::from_chars(digits.data(), digits.data() + digits.size(), columns);
        if (failure == std::errc() && *end == '\0' && columns > 0)
            return columns;
    }
    return TerminalWidth();
}

std::size_t Output::TerminalWidth() const {
    winsize size{};
    if (terminal && ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return std::numeric_limits<std::size_t>::max();
}

void Output::Write(std::string_view bytes) {
    if (waiting.size() + bytes.size() >= bufferSize)
        Flush();
    if (bytes.size() >= bufferSize)
        WriteAll(bytes);
    else if (error == 0)
        waiting += bytes;
}

void Output::Flush() {
    WriteAll(waiting);
    waiting.clear();
}

void Output::WriteAll(std::string_view rest) {
    while (error == 0 && !rest.empty()) {
        ssize_t const written = WriteSome(rest);
        if (written < 0)
            HandleError(errno);
        else
            rest.remove_prefix(static_cast<std::size_t>(written));
    }
}

// A pipe that poll(2) reports as writable accepts PIPE_BUF bytes without blocking, even if it could
// not be reopened.
ssize_t Output::WriteSome(std::string_view bytes) const {
    if (!mayBlock)
        return write(target, bytes.data(), bytes.size());
    if (AwaitWritable(target))
        return write(target, bytes.data(), std::min<std::size_t>(bytes.size(), PIPE_BUF));
    errno = EINTR;
    return -1;
}

// EAGAIN is possible after poll(2): a terminal may refuse a line feed, and another process may have
// filled the pipe.
void Output::HandleError(int number) {
    bool const temporary = number == EINTR || (number == EAGAIN && mayBlock);
    if (!temporary)
        error = number;
    else if (StopSignal() != 0)
        error = EINTR;
    else if (number == EAGAIN)
        SleepUnlessStopped(pauseBeforeRetry);
}

void WriteMessage(std::string_view program, std::string_view text) {
    Output output(STDERR_FILENO);
    output.Write(program);
    output.Write(": ");
    output.Write(MakeVisible(text, output.Characters()));
    output.Write("\n");
    output.Flush();
}
