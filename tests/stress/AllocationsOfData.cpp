#include "data/Ascii.h"
#include "data/AsciiFilters.h"
#include "data/ConstData.h"
#include "data/ConstDataRopeReference.h"
#include "data/DataFilterer.h"
#include "data/DataReceiver.h"
#include "data/ExceptionPL.h"
#include "data/ReadReader.h"
#include "data/StringReceiver.h"
#include "tests/stress/Operations.h"
#include "tests/stress/TestCases.h"
#include "tests/support/ChunkReader.h"

namespace {

using namespace Stress;

char const dataText[] = "a text, long enough, to be stored, apart, wherever, it goes";
char const otherData[] = "Another Text That Does Not Fit Inside Of Any Small Object";

struct DataText : AsText {
    using AsText::operator();
    std::string operator()(std::vector<ConstData> const& pieces) const {
        return JoinTexts(pieces, [](ConstData piece) { return MakeString(piece); });
    }
    std::string operator()(ExceptionPL const& exception) const {
        return exception.what() == nullptr ? "null" : exception.what();
    }
};

void Receive(std::string& string) {
    StringReceiver stage;
    DataReceiver& receiver = stage(string);
    receiver.Start();
    receiver.Receive(ConstData(dataText));
    receiver.Receive(ConstData(otherData));
    receiver.ReceiveEnd();
}

auto const givingData = Operation::Giver(DataText());

Operations OfText() {
    return {
        givingData(CC_TRY(ConstData(dataText).PositionsOf(",").size())),
        givingData(CC_TRY(ConstData(dataText).Split(",", false, true))),
        givingData(CC_TRY(ConstData(dataText).Split(",", true, false))),
        givingData(CC_TRY(MakeString(ConstData(dataText)))),
        givingData(CC_TRY(MakeString(ConstDataRope{dataText, otherData}))),
        givingData(CC_TRY(Ascii::RaiseCase(ConstData(dataText)))),
        givingData(CC_TRY(Ascii::LowerCase(ConstData(otherData)))),
        givingData(CC_TRY(ApplyFilter(dataText, Ascii::RaiseCase()))),
        givingData("ReadReader",
                   [] {
                       ChunkReader reader(dataText, 7);
                       return ReadReader(reader);
                   }),
        Operation::Changer([] { return std::string(); }, DataText())(CC_TRY_ON(Receive(it)),
                                                                     {.state = Stated::AnyValue}),
    };
}

Operations OfExceptions() {
    return {
        givingData(CC_TRY(ExceptionPL(dataText))),
        givingData(CC_TRY(ExceptionPL(ConstData(dataText)))),
        Operation(
            "ExceptionPL(ExceptionPL const&)",
            [] {
                return std::pair<ExceptionPL, std::optional<ExceptionPL>>(dataText, std::nullopt);
            },
            [](auto& pair) { pair.second.emplace(pair.first); },
            [](auto const& pair) { return DataText()(pair.second ? *pair.second : pair.first); }),
        // The old text is released first, so it is lost if there is no memory for the new one.
        Operation(
            "ExceptionPL::operator=",
            [] { return std::pair<ExceptionPL, ExceptionPL>(dataText, otherData); },
            [](auto& pair) { pair.first = pair.second; },
            [](auto const& pair) { return DataText()(pair.first); },
            {.state = Stated::Shown, .shown = "null"}),
    };
}

TEST(QuickAllocations, FailuresInDataHaveDocumentedOutcomes) {
    CountTestCases(FailEachOf("data", Join({OfText(), OfExceptions()})));
}

} // namespace
