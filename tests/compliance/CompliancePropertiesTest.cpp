// Checks the properties of fuzz targets with random inputs.
#include "fuzz/PrivateRoot.h"
#include "tests/compliance/ExchangeFiles.h"
#include "tests/compliance/FakeProcess.h"
#include "tests/support/FuzzTargets.h"
#include "tests/system/Documents.h"

// The sandbox of a test is a private root already.
Fuzz::PrivateRoot::PrivateRoot() = default;
Fuzz::PrivateRoot::~PrivateRoot() = default;
void Fuzz::WriteFile(std::string const& path, std::string_view content) {
    WriteWholeFile(path, std::string(content));
}
std::string Fuzz::ReadFile(std::string const& path) { return ReadWholeFile(path); }

namespace {

using Parts = std::vector<std::string>;

std::string AnyOf(std::mt19937& random, Parts const& parts) {
    return parts[random() % parts.size()];
}

// Up to `most` of the parts.
std::string Sequence(std::mt19937& random, std::size_t most, Parts const& parts) {
    std::string text;
    for (std::size_t count = random() % (most + 1); count != 0; --count)
        text += AnyOf(random, parts);
    return text;
}

// Up to `most` children of an element, which may have children themselves. The first name is that
// of the type.
std::string RandomChildren(std::mt19937& random, std::size_t most, Parts const& names) {
    std::string children;
    for (std::size_t count = random() % (most + 1); count != 0; --count)
        switch (random() % 8) {
        case 0:
            children += AnyOf(random, {"text", "<!-- comment -->", "\r\n"});
            break;
        case 1:
        case 2:
            children += Element(names[0], AnyOf(random, {"Open", "Close", "Progress"}));
            break;
        case 3:
            children += Element(AnyOf(random, names), RandomChildren(random, 3, names));
            break;
        default:
            children +=
                Element(AnyOf(random, names),
                        AnyOf(random, {"", "open", " Open", "-5", "3abc", " \t-7", "+4", "0x10",
                                       "4294967301", "a&#xe9;&amp;&lt;\r\nb", "&#x00;x"}));
        }
    return children;
}

// A document that may be truncated.
std::string RandomDocument(std::mt19937& random, Parts const& roots, Parts const& names) {
    std::string const document =
        AnyOf(random, {"", "", "<?xml version=\"1.0\"?>\r\n", "no element"}) +
        Element(AnyOf(random, roots), RandomChildren(random, 9, names)) +
        AnyOf(random, {"", "", "\r\n", "<Other>"});
    return random() % 8 == 0 ? document.substr(0, random() % document.size()) : document;
}

SANDBOX_TEST(CompliancePropertiesTest, RequestsAgreeWithReference) {
    std::mt19937 random(23);
    for (int round = 0; round < 1'500 && !testing::Test::HasFailure(); ++round) {
        ExpectHolds(CheckRequest, '\5' + RandomDocument(random,
                                                        {"VeskaClientComplianceRequest",
                                                         "VeskaClientComplianceRequest", "Other",
                                                         "veskaclientcompliancerequest"},
                                                        {"RequestType", "RequestURL", "RequestDOC",
                                                         "RequestFlags", "Other"}));
        ExpectHolds(CheckRequest,
                    static_cast<char>(random() % 5) + RandomBytes(random, 8, EveryByte()) +
                        Counted(RandomBytes(random, random() % 250, EveryByte())) +
                        (round % 10 == 0 ? ExchangeFiles::LongText(random)
                                         : RandomBytes(random, random() % 60, EveryByte())));
    }
}

TEST(CompliancePropertiesTest, ResponsesAgreeWithReference) {
    std::mt19937 random(24);
    for (int round = 0; round < 5'000 && !HasFailure(); ++round)
        ExpectHolds(
            CheckResponse,
            Bytes("\2\7\x80") +
                RandomDocument(random,
                               {"VeskaClientComplianceResponse", "VeskaClientComplianceResponse",
                                "Other", "veskaclientcomplianceresponse"},
                               {"ResponseType", "ResponseType", "ResponseProgressState",
                                "ResponseProgressError", "ResponseProgressPercent", "ResponseItem",
                                "Designator", "Result", "ResultType", "EvaluationTime",
                                "Description", "Comment", "Other"}));
}

// The content of a file. In half of the contents, the limit of 511 bytes is in or next to the tail.
std::string RandomContent(std::mt19937& random, Parts const& parts) {
    std::string const head = Sequence(random, 4, parts);
    std::string const tail = Sequence(random, 4, parts);
    std::size_t const cut = head.size() + random() % (tail.size() + 1);
    std::size_t const padding = random() % 2 == 0 ? 0 : (512 - cut) / 2;
    return Counted(head) + static_cast<char>(padding) + Counted(tail);
}

// The tokens of a stat file and of a status file.
Parts const statParts = {"7 ", "(", ")", "a b", "VeskaClient", "(VeskaClient)", "\n", Bytes("\0")};
Parts const statusParts = {"\nPPid:",    "\nPPid:\t5",   "\nPPid:\t0x10",
                           "\nUid:",     "\nUid:\t6\t7", "\nUid:\t-1\t-2",
                           "Uid:\t6\t7", "PPid:\t5",     "\t",
                           " ",          "\v\f\r\n",     "\n",
                           "5",          "-2",           "+",
                           "--",         "0x",           "x",
                           "2147483647", "4294967295",   "-2147483648"};

std::string RandomProcess(std::mt19937& random) {
    unsigned int const files = random() % 16;
    std::string process(1, static_cast<char>(files));
    if ((files & 1) != 0)
        process += static_cast<char>(random() % 2 * (random() % 32)) +
                   Counted(Sequence(random, 3, {"/", "a", "VeskaClient", "/VeskaClient", "//b"}));
    if ((files & 2) != 0)
        process += RandomContent(random, statParts);
    if ((files & 4) != 0)
        process += RandomContent(random, statusParts);
    return process;
}

SANDBOX_TEST_WITH(CompliancePropertiesTest, ProcessesAgreeWithReference, emptyProc) {
    std::mt19937 random(25);
    for (int round = 0; round < 6'000 && !testing::Test::HasFailure(); ++round) {
        std::size_t const capacity = random() % 2 == 0 ? 1024 : random() % 12;
        std::string input = {static_cast<char>(capacity / 256), static_cast<char>(capacity % 256)};
        input += Counted(AnyOf(random, {"7", "7", "7", "0", "4294967295"}));
        for (int count = 0; count < 2; ++count)
            input += Counted(AnyOf(random, {"7", "7", "7", "0", "4294967295", "07", " 7", "-1",
                                            "x7", "4294967303", "7x", "0x1", "self"})) +
                     RandomProcess(random);
        ExpectHolds(CheckProcesses, input);
    }
}

} // namespace
