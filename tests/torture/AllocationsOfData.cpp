#include "tests/torture/AllocationsOfFolders.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "data/Ascii.h"
#include "data/AsciiFilters.h"
#include "data/ConstData.h"
#include "data/ConstDataRopeReference.h"
#include "data/DataFilterer.h"
#include "data/DataReceiver.h"
#include "data/ExceptionPL.h"
#include "data/ReadReader.h"
#include "data/StringReceiver.h"
#include "tests/support/ChunkReader.h"
#include "tests/torture/Operations.h"

namespace {

using Torture::Operation;
using Torture::Operations;
using Torture::Stated;

char const dataText[] = "a text, long enough, to be stored, apart, wherever, it goes";
char const otherData[] = "Another Text That Does Not Fit Inside Of Any Small Object";

std::string Same(std::string const& string) { return string; }

std::string ShowPieces(std::vector<ConstData> const& pieces) {
    std::string shown;
    for (ConstData const piece : pieces)
        shown += MakeString(piece) + '|';
    return shown;
}

std::string ShowMessage(ExceptionPL const& exception) {
    return exception.what() == nullptr ? "null" : exception.what();
}

auto const givingText = Operation::Giver(Same);
auto const givingPieces = Operation::Giver(ShowPieces);
auto const givingMessage = Operation::Giver(ShowMessage);

Operations OfViews() {
    return {
        Operation::Giving(
            "ConstData::PositionsOf", [] { return ConstData(dataText).PositionsOf(","); },
            [](std::vector<unsigned long> const& places) { return std::to_string(places.size()); }),
        givingPieces("ConstData::Split",
                     [] { return ConstData(dataText).Split(",", false, true); }),
        givingPieces("ConstData::Split, trimmed",
                     [] { return ConstData(dataText).Split(",", true, false); }),
        givingText("MakeString(ConstData)", [] { return MakeString(ConstData(dataText)); }),
        givingText("MakeString(ConstDataRopeReference)",
                   [] {
                       return MakeString(ConstDataRope{dataText, otherData});
                   }),
    };
}

Operations OfText() {
    return {
        givingText("Ascii::RaiseCase", [] { return Ascii::RaiseCase(ConstData(dataText)); }),
        givingText("Ascii::LowerCase", [] { return Ascii::LowerCase(ConstData(otherData)); }),
        givingText("ApplyFilter", [] { return ApplyFilter(dataText, Ascii::RaiseCase()); }),
    };
}

Operations OfStreams() {
    return {
        givingText("ReadReader",
                   [] {
                       ChunkReader reader(dataText, 7);
                       return ReadReader(reader);
                   }),
        Operation(
            "StringReceiver", [] { return std::string(); },
            [](std::string& string) {
                StringReceiver stage;
                DataReceiver& receiver = stage(string);
                receiver.Start();
                receiver.Receive(ConstData(dataText));
                receiver.Receive(ConstData(otherData));
                receiver.ReceiveEnd();
            },
            Same, {.state = Stated::AnyValue}),
    };
}

Operations OfExceptions() {
    return {
        givingMessage("ExceptionPL(char const*)", [] { return ExceptionPL(dataText); }),
        givingMessage("ExceptionPL(ConstData)", [] { return ExceptionPL(ConstData(dataText)); }),
        Operation(
            "ExceptionPL(ExceptionPL const&)",
            [] {
                return std::pair<ExceptionPL, std::optional<ExceptionPL>>(dataText, std::nullopt);
            },
            [](auto& pair) { pair.second.emplace(pair.first); },
            [](auto const& pair) { return ShowMessage(pair.second ? *pair.second : pair.first); }),
        // The old text goes first, so without memory for the new one there is none.
        Operation(
            "ExceptionPL::operator=",
            [] { return std::pair<ExceptionPL, ExceptionPL>(dataText, otherData); },
            [](auto& pair) { pair.first = pair.second; },
            [](auto const& pair) { return ShowMessage(pair.first); },
            {.state = Stated::Shown, .shown = "null"}),
    };
}

} // namespace

std::size_t Torture::FailAllocationsOfData() {
    return FailEachOf("data", Join({OfViews(), OfText(), OfStreams(), OfExceptions()}));
}
