// Checks the properties of fuzz targets with random inputs.
#include "tests/support/FuzzTargets.h"

namespace {

// A byte below `limit`.
char Choice(std::mt19937& random, unsigned int limit) {
    return static_cast<char>(random() % limit);
}

// Names are short, or near the limits. The searched text is a part of the name in another case.
TEST(FilePropertiesTest, NamesAgreeWithStdString) {
    std::mt19937 random(1);
    for (int round = 0; round < 10'000 && !HasFailure(); ++round) {
        std::size_t const length = random() % 16 == 0 ? 230 + random() % 26 : random() % 12;
        std::string const first = RandomBytes(random, length, "aAbZ.19/\xE9\xC9");
        std::string const second = RandomBytes(random, random() % 30, EveryByte());
        std::size_t const from = random() % 2 * (random() % (length + 1));
        std::string end = first.substr(from, random() % 2 == 0 ? length : random() % 4);
        end += std::string(random() % 8 == 0 ? 1 : 0, 'a'); // It may be longer than the name.
        for (char& byte : end)
            byte = static_cast<char>(byte ^ (random() % 8 == 0 ? 0x20 : 0));
        ExpectHolds(CheckNames, Choice(random, 256) + Counted(first) + Counted(second) + end);
    }
}

TEST(FilePropertiesTest, LocationsAgreeWithStdString) {
    std::mt19937 random(2);
    for (int round = 0; round < 3'000 && !HasFailure(); ++round) {
        std::string input = Counted(RandomBytes(random, random() % 6, "/aA."));
        for (int change = 0; change < 12; ++change) {
            std::size_t const length = random() % 16 == 0 ? random() % 250 : random() % 11;
            input += Choice(random, 9);
            input += Choice(random, 64);
            input += Counted(RandomBytes(random, length, "//aA.19*?\xE9"));
        }
        ExpectHolds(CheckLocations, input);
    }
}

} // namespace
