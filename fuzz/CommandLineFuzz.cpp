// Compares the parser of the tool's command line with a reference implementation.
#include <optional>

#include "fuzz/Arguments.h"
#include "fuzz/ReferenceNumber.h"
#include "tool/CommandLine.h"

namespace {

struct ReferenceRequest {
    bool operator==(ReferenceRequest const&) const = default;

    std::optional<std::string> url;
    std::optional<std::string> doc;
    std::uint32_t flags = 0;
};

std::optional<ReferenceRequest> ReferenceRead(std::vector<std::string> const& arguments) {
    if (arguments.size() == 2 && arguments[1] == "-d")
        return ReferenceRequest();
    if (arguments.size() < 4 || arguments.size() > 5 || arguments[1] != "-c")
        return {};
    std::int64_t const number = arguments.size() == 5 ? ReferenceNumber::Signed(arguments[4]) : 0;
    auto const flags = static_cast<std::uint32_t>(number);
    if (flags > 15)
        return {};
    return ReferenceRequest{arguments[2], arguments[3], flags};
}

std::optional<std::string> Text(char const* text) {
    return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

std::optional<ReferenceRequest> Read(std::vector<std::string> const& arguments) {
    Fuzz::ArgumentVector const vector(arguments);
    CommandLine commandLine{"left", "over", 99};
    if (!ReadCommandLine(vector.Count(), vector.Arguments(), commandLine))
        return {};
    return ReferenceRequest{Text(commandLine.url), Text(commandLine.doc), commandLine.flags};
}

} // namespace

// Input: the arguments, including the program's name. There may be none.
int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    std::vector<std::string> const arguments = Fuzz::TakeArguments(input, 7);
    Require(Read(arguments) == ReferenceRead(arguments),
            "the parsed command line agrees with the reference");
    return 0;
}
