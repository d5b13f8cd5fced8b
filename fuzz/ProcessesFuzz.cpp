// Compares the reader of /proc with a reference implementation that uses sscanf(3).
#include <cstdio>
#include <map>

#include "compliance/AgentPresence.h"
#include "compliance/ProcessNames.h"
#include "fuzz/Fuzz.h"
#include "fuzz/PrivateRoot.h"
#include "fuzz/ReferenceNumber.h"
#include "tests/compliance/FakeProcess.h"

namespace {

// The entries of /proc by name. An entry without a process is a regular file.
using Entries = std::map<std::string, std::optional<FakeProcess>>;

struct Answer {
    bool operator==(Answer const&) const = default;

    std::optional<std::string> name;
    std::optional<std::string> path;
    long long parent = -1;
    long long realUser = -1;
    long long effectiveUser = -1;
};

constexpr unsigned int usualCapacity = 1024;

std::string HeadOf(std::optional<std::string> const& file) {
    return file.value_or("").substr(0, 511).c_str();
}

std::string NameIn(FakeProcess const& process) {
    if (process.exe) {
        std::size_t const slash = process.exe->rfind('/');
        return slash == std::string::npos || slash == 0 ? *process.exe
                                                        : process.exe->substr(slash + 1);
    }
    std::string const stat = HeadOf(process.stat);
    std::size_t const open = stat.find('(');
    std::size_t const close = stat.find(')');
    if (open == std::string::npos || close == std::string::npos || close < open)
        return std::string();
    return stat.substr(open + 1, close - open - 1);
}

std::optional<std::string> Fitting(std::string const& text, unsigned int capacity) {
    if (text.empty() || text.size() >= capacity)
        return {};
    return text;
}

Answer ReferenceAsk(FakeProcess const& process, unsigned int capacity) {
    Answer answer;
    answer.name = Fitting(NameIn(process), capacity);
    answer.path = Fitting(process.exe.value_or(""), capacity);
    std::string const status = HeadOf(process.status);
    int parent = 0, real = 0, effective = 0;
    auto const at = [&](char const* name) {
        return status.c_str() + std::min(status.find(name), status.size());
    };
    if (std::sscanf(at("\nPPid:"), "\nPPid:\t%d", &parent) == 1)
        answer.parent = parent;
    if (std::sscanf(at("\nUid:"), "\nUid:\t%d\t%d", &real, &effective) == 2) {
        answer.realUser = static_cast<std::uint32_t>(real);
        answer.effectiveUser = static_cast<std::uint32_t>(effective);
    }
    return answer;
}

FakeProcess ProcessAt(Entries const& entries, std::uint32_t id) {
    auto const found = entries.find(std::to_string(id));
    return found == entries.end() ? FakeProcess() : found->second.value_or(FakeProcess());
}

bool ReferenceIsAgent(Entries const& entries, std::string const& directory) {
    auto const id = static_cast<std::uint32_t>(ReferenceNumber::Unsigned(directory));
    return ReferenceNumber::Signed(directory) != 0 && entries.at(directory).has_value() &&
           ReferenceAsk(ProcessAt(entries, id), usualCapacity).name == "VeskaClient";
}

bool ReferenceIsRunning(Entries const& entries) {
    return std::any_of(entries.begin(), entries.end(),
                       [&](auto const& entry) { return ReferenceIsAgent(entries, entry.first); });
}

// Calls `ask` with a buffer of exactly `capacity` bytes, which must be unchanged after a failure.
template <class Ask>
std::optional<std::string> TextFrom(unsigned int capacity, Ask ask) {
    std::string const before(capacity, '#');
    Fuzz::ExactCopy const place(before);
    auto* const text = const_cast<char*>(place.Begin());
    if (ask(text))
        return std::string(text);
    Require(before == std::string(text, capacity), "a failure leaves the buffer unchanged");
    return {};
}

Answer Ask(std::uint32_t id, unsigned int capacity) {
    Answer answer{{}, {}, 5, 5, 5};
    answer.name = TextFrom(capacity, [&](char* name) {
        return ProcessIdToName(id, name, capacity, answer.parent, answer.realUser,
                               answer.effectiveUser);
    });
    answer.path =
        TextFrom(capacity, [&](char* path) { return ProcessIdToPath(id, path, capacity); });
    return answer;
}

void Lay(Entries const& entries) {
    for (auto const& [name, process] : entries) {
        if (process)
            MakeFakeProcess(name, *process);
        else
            Fuzz::WriteFile("/proc/" + name, "no process");
    }
}

// Creates the entries, queries the process and whether the agent is running, and removes the
// entries.
std::pair<Answer, bool> Observe(Entries const& entries, std::uint32_t id, unsigned int capacity) {
    Fuzz::PrivateRoot const root;
    std::filesystem::create_directory("/proc");
    Lay(entries);
    std::pair const observed(Ask(id, capacity), UnixPlatform::IsRunning());
    for (auto const& entry : entries)
        std::filesystem::remove_all("/proc/" + entry.first);
    return observed;
}

// Returns up to `most` bytes of a repeated text.
std::string LongText(Fuzz::Input& input, std::size_t most) {
    std::size_t const times = 1 + input.Byte() % 32U;
    std::string const text = input.Text();
    std::string all;
    while (all.size() < times * text.size())
        all += text;
    return all.substr(0, most);
}

// Returns two texts with a filler of variable length between.
std::string Content(Fuzz::Input& input) {
    std::string const head = input.Text();
    std::size_t const length = input.Byte() * 2U;
    return head + std::string(length, 'x') + input.Text();
}

std::optional<FakeProcess> TakeProcess(Fuzz::Input& input) {
    unsigned int const what = input.Byte();
    if ((what & 8) != 0)
        return {};
    FakeProcess process;
    if ((what & 1) != 0)
        process.exe = std::string(LongText(input, 4095).c_str());
    if (process.exe && process.exe->empty())
        process.exe.reset();
    if ((what & 2) != 0)
        process.stat = Content(input);
    if ((what & 4) != 0)
        process.status = Content(input);
    return process;
}

std::string TakeName(Fuzz::Input& input) {
    std::string name = Fuzz::UpToNul(input.Text());
    std::replace(name.begin(), name.end(), '/', '-');
    return name.empty() || name == "." || name == ".." ? "1" : name;
}

} // namespace

// Input: a capacity, a process ID, and up to four entries with their contents.
int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    unsigned int const high = input.Byte();
    unsigned int const capacity = (high << 8 | input.Byte()) % 5000U;
    auto const id = static_cast<std::uint32_t>(ReferenceNumber::Unsigned(input.Text()));
    Entries entries;
    for (int i = 0; i < 4 && !input.IsEmpty(); ++i) {
        std::string const name = TakeName(input);
        entries[name] = TakeProcess(input);
    }
    auto const [answer, isRunning] = Observe(entries, id, capacity);
    Require(answer == ReferenceAsk(ProcessAt(entries, id), capacity),
            "name, path and numbers of a process agree with the reference");
    Require(isRunning == ReferenceIsRunning(entries), "IsRunning agrees with the reference");
    return 0;
}
