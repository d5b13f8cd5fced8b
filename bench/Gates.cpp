// Runs one operation for scripts/gates, which counts instructions: Gates SUBJECT WHO
//
// Only instructions inside of `MeasuredRun` are counted. The operation runs once before, so the
// creation of the input and other one-time initialization are not counted.
#include <cstdio>
#include <cstring>

#include <fmt/format.h>

#include "bench/EventReaders.h"
#include "bench/TreeReaders.h"
#include "bench/Writers.h"
#include "data/MakeAsciiNumeral.h"

namespace {

constexpr std::size_t rowCount = 1000;

template <class Reader>
std::size_t ReadEvents() {
    EventCounter counter;
    Reader::Read(Inputs::ResponseDocument(rowCount), counter);
    return counter.Sum();
}

template <class Tree>
std::size_t BuildTree() {
    return Tree(Inputs::ResponseDocument(rowCount)).IsComplete();
}

template <class Writer>
std::size_t WriteDocument() {
    Writer writer;
    WriteRows(writer, Inputs::Rows(rowCount));
    return writer.Finish().size();
}

std::size_t OurNumerals() {
    std::size_t sum = 0;
    for (std::uint64_t value : Inputs::MixedNumbers()) {
        auto const numeral = MakeAsciiDecimalNumeral64(value, 1);
        sum += numeral.length + numeral.bytes[0];
    }
    return sum;
}

std::size_t FmtNumerals() {
    std::size_t sum = 0;
    for (std::uint64_t value : Inputs::MixedNumbers()) {
        fmt::format_int const numeral(value);
        sum += numeral.size() + static_cast<unsigned char>(numeral.data()[0]);
    }
    return sum;
}

struct Gate {
    char const* subject;
    char const* who;
    std::size_t (*run)();
};

constexpr Gate gates[] = {
    {"XmlEvents", "ours", ReadEvents<OurEvents>},
    {"XmlEvents", "libxml2", ReadEvents<Libxml2Events>},
    {"XmlTree", "ours", BuildTree<OurTree>},
    {"XmlTree", "libxml2", BuildTree<Libxml2Tree>},
    {"XmlWriter", "ours", WriteDocument<OurWriter>},
    {"XmlWriter", "libxml2", WriteDocument<Libxml2Writer>},
    {"Numerals", "ours", OurNumerals},
    {"Numerals", "fmt", FmtNumerals},
};

} // namespace

extern "C" [[gnu::noinline]] std::size_t MeasuredRun(std::size_t (*run)()) {
    return run() + 1; // Prevents a tail call, which would leave this function.
}

int main(int argumentCount, char** arguments) {
    for (Gate const& gate : gates) {
        if (argumentCount == 3 && std::strcmp(arguments[1], gate.subject) == 0 &&
            std::strcmp(arguments[2], gate.who) == 0) {
            std::size_t const first = gate.run();
            return MeasuredRun(gate.run) == first + 1 ? 0 : 1;
        }
    }
    std::fprintf(stderr, "usage: Gates SUBJECT WHO; for example Gates XmlTree ours\n");
    return 2;
}
