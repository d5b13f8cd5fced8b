#include "tests/support/ForwardedFailures.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <system_error>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "tests/support/Sanitizers.h"

#ifdef CC_ADDRESS_SANITIZER
#include <sanitizer/lsan_interface.h>
#endif

#ifdef CC_COVERAGE
extern "C" void __gcov_dump();
#endif

namespace {

constexpr size_t maxPacketSize = 65536;
// Above the descriptors that tests count or close.
constexpr int minLineDescriptor = 100;

// The kinds of packets.
constexpr char finishedKind = 'f';
constexpr char unavailableKind = 'u';
constexpr char fatalKind = 'F';
constexpr char nonFatalKind = 'N';
constexpr char skipKind = 'S';

class Forwarder : public testing::EmptyTestEventListener {
public:
    ForwardedFailures* target = nullptr;

    void OnTestPartResult(testing::TestPartResult const& result) override {
        if (!result.passed())
            target->SendFailure(result);
    }
};

// Replaces the printer by the forwarder. GoogleTest owns it; a fork inherits it.
Forwarder& InstalledForwarder() {
    static Forwarder* const forwarder = [] {
        auto& listeners = testing::UnitTest::GetInstance()->listeners();
        delete listeners.Release(listeners.default_result_printer());
        auto* made = new Forwarder;
        listeners.Append(made);
        return made;
    }();
    return *forwarder;
}

char KindOf(testing::TestPartResult const& result) {
    if (result.skipped())
        return skipKind;
    return result.fatally_failed() ? fatalKind : nonFatalKind;
}

// "<line> <file>\n<message>"
std::string Packed(testing::TestPartResult const& result) {
    std::string_view message = result.message();
    // Each report adds this prefix. It is removed, so a failure that is forwarded twice has it
    // once.
    std::string_view const prefix = "Failed\n";
    if (message.starts_with(prefix))
        message.remove_prefix(prefix.size());
    std::string text = std::to_string(result.line_number()) + ' ';
    text += result.file_name() ? result.file_name() : "unknown file";
    return text.append("\n").append(message);
}

// Separate functions, because the macros of GoogleTest return from their function.
void FailHere(char const* file, int line, std::string const& message) {
    GTEST_FAIL_AT(file, line) << message;
}

void SkipHere(std::string const& message) { GTEST_SKIP() << message; }

} // namespace

int MovedUp(int descriptor) {
    int const moved = fcntl(descriptor, F_DUPFD_CLOEXEC, minLineDescriptor);
    if (moved < 0)
        throw std::system_error(errno, std::generic_category(),
                                "cannot duplicate a file descriptor (limit: ulimit -n)");
    close(descriptor);
    return moved;
}

std::pair<int, int> MakeLine() {
    std::array<int, 2> ends{-1, -1};
    socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data());
    return {MovedUp(ends[0]), MovedUp(ends[1])};
}

ForwardedFailures::ForwardedFailures() { std::tie(parentEnd, childEnd) = MakeLine(); }

ForwardedFailures::~ForwardedFailures() {
    if (parentEnd >= 0)
        close(parentEnd);
    if (childEnd >= 0)
        close(childEnd);
}

void ForwardedFailures::BecomeChild() {
    close(parentEnd);
    parentEnd = -1;
    InstalledForwarder().target = this;
}

void ForwardedFailures::BecomeParent() {
    close(childEnd);
    childEnd = -1;
}

void ForwardedFailures::SendFailure(testing::TestPartResult const& failure) {
    Send(KindOf(failure), Packed(failure), true);
}

void ForwardedFailures::SendFailure(std::string const& text) {
    SendFailure(
        testing::TestPartResult(testing::TestPartResult::kFatalFailure, nullptr, 0, text.c_str()));
}

void ForwardedFailures::SendFinished() { Send(finishedKind, "", false); }

void ForwardedFailures::SendUnavailable(std::string const& reason) {
    Send(unavailableKind, reason, false);
}

void ForwardedFailures::Send(char kind, std::string const& text, bool mayDrop) {
    std::string packet = kind + text;
    packet.resize(std::min(packet.size(), maxPacketSize));
    int const flags = MSG_NOSIGNAL | (mayDrop ? MSG_DONTWAIT : 0);
    while (send(childEnd, packet.data(), packet.size(), flags) < 0 && errno == EINTR) {
    }
}

bool ForwardedFailures::Take() {
    std::string packet(maxPacketSize, '\0');
    for (;;) {
        ssize_t const length = recv(parentEnd, packet.data(), packet.size(), MSG_DONTWAIT);
        if (length > 0)
            Interpret(packet.data(), static_cast<size_t>(length));
        else if (length == 0 || (errno != EINTR && errno != EAGAIN))
            return false;
        else if (errno == EAGAIN)
            return true;
    }
}

void ForwardedFailures::Interpret(char const* packet, size_t length) {
    std::string_view rest(packet + 1, length - 1);
    if (*packet == finishedKind) {
        finished = true;
        return;
    }
    if (*packet == unavailableKind) {
        refusal = rest;
        return;
    }
    int line = 0;
    std::from_chars(rest.data(), rest.data() + rest.size(), line);
    size_t const fileAt = rest.find(' ') + 1;
    size_t const messageAt = std::min(rest.find('\n', fileAt), rest.size() - 1) + 1;
    std::string const file(rest.substr(fileAt, messageAt - 1 - fileAt));
    std::string const message(WithoutLastNewline(rest.substr(messageAt)));
    if (*packet == skipKind)
        return SkipHere(message);
    failed = true;
    if (*packet == fatalKind)
        FailHere(file.c_str(), line, message);
    else
        ADD_FAILURE_AT(file.c_str(), line) << message;
}

std::string_view WithoutLastNewline(std::string_view message) {
    return message.substr(0, message.size() - (message.ends_with('\n') ? 1 : 0));
}

void ReportForkedException(char const* what) {
    ADD_FAILURE() << "the body of the process threw an exception: " << what;
}

void EndForkedBody() {
#ifdef CC_ADDRESS_SANITIZER
    // The check traces the threads of the process, and aborts if it cannot list them.
    if (prctl(PR_GET_DUMPABLE) == 1 && access("/proc/self/task", R_OK) == 0) {
        EXPECT_EQ(0, __lsan_do_recoverable_leak_check()) << "the process leaked memory (see above)";
    }
#endif
#ifdef CC_COVERAGE
    __gcov_dump();
#endif
}
