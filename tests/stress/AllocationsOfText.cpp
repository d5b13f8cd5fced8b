#include <numeric>

#include "data/Ascii.h"
#include "data/AsciiFilters.h"
#include "data/ConstData.h"
#include "data/ConstDataRopeReference.h"
#include "data/DataFilterer.h"
#include "data/DataReceiver.h"
#include "data/ExceptionPL.h"
#include "data/Numeral.h"
#include "data/ReadReader.h"
#include "data/StringReceiver.h"
#include "strings/ListPL.h"
#include "strings/SmallContainers.h"
#include "strings/StringPL.h"
#include "strings/Stringy.h"
#include "tests/stress/Operations.h"
#include "tests/stress/TestCases.h"
#include "tests/support/ChunkReader.h"
#include "unicode/AutoNullTerminated.h"
#include "unicode/AutoUString.h"
#include "unicode/LocalEncoding.h"
#include "unicode/Owned.h"
#include "unicode/Transcode.h"
#include "unicode/UStringBuilder.h"
#include "unicode/UStringRef.h"

namespace {

char const dataText[] = "a text, long enough, to be stored, apart, wherever, it goes";
char const otherData[] = "Another Text That Does Not Fit Inside Of Any Small Object";

struct ValueText : AsText {
    using AsText::operator();
    std::string operator()(ConstData data) const { return MakeString(data); }
    std::string operator()(StringPL const& string) const {
        return std::to_string(string.GetLength()) + ' ' + string.AsChar();
    }
    std::string operator()(Stringy const& string) const {
        return std::to_string(string.GetLength()) + ' ' + static_cast<char const*>(string);
    }
    template <class Item>
    std::string operator()(std::vector<Item> const& items) const {
        return JoinTexts(items, *this);
    }
    std::string operator()(std::unique_ptr<ListPL<StringPL>> const& list) const {
        std::string shown;
        for (list->ResetEnum(); list->IsNext();)
            shown += (*this)(list->GetNext()) + '|';
        return shown;
    }
};

auto const givingText = Operation::Giver(ValueText());

void Receive(std::string& string) {
    StringReceiver stage;
    DataReceiver& receiver = stage(string);
    receiver.Start();
    receiver.Receive(ConstData(dataText));
    receiver.Receive(ConstData(otherData));
    receiver.ReceiveEnd();
}

Operations OfText() {
    return {
        givingText(CC_TRY(ConstData(dataText).PositionsOf(",").size())),
        givingText(CC_TRY(ConstData(dataText).Split(",", false, true))),
        givingText(CC_TRY(ConstData(dataText).Split(",", true, false))),
        givingText(CC_TRY(MakeString(ConstData(dataText)))),
        givingText(CC_TRY(MakeString(ConstDataRope{dataText, otherData}))),
        givingText(CC_TRY(Ascii::RaiseCase(ConstData(dataText)))),
        givingText(CC_TRY(Ascii::LowerCase(ConstData(otherData)))),
        givingText(CC_TRY(ApplyFilter(dataText, Ascii::RaiseCase()))),
        givingText("ReadReader",
                   [] {
                       ChunkReader reader(dataText, 7);
                       return ReadReader(reader);
                   }),
        Operation::Changer([] { return std::string(); }, ValueText())(CC_TRY_ON(Receive(it)),
                                                                      {.state = Stated::AnyValue}),
    };
}

Operations OfExceptions() {
    return {
        givingText(CC_TRY(ExceptionPL(dataText))),
        givingText(CC_TRY(ExceptionPL(ConstData(dataText)))),
        Operation(
            "ExceptionPL(ExceptionPL const&)",
            [] {
                return std::pair<ExceptionPL, std::optional<ExceptionPL>>(dataText, std::nullopt);
            },
            [](auto& pair) { pair.second.emplace(pair.first); },
            [](auto const& pair) { return ValueText()(pair.second ? *pair.second : pair.first); }),
        // The old text is released first, so it is lost if there is no memory for the new one.
        Operation(
            "ExceptionPL::operator=",
            [] { return std::pair<ExceptionPL, ExceptionPL>(dataText, otherData); },
            [](auto& pair) { pair.first = pair.second; },
            [](auto const& pair) { return ValueText()(pair.first); },
            {.state = Stated::Shown, .shown = "null"}),
    };
}

TEST(QuickAllocations, FailuresInDataHaveDocumentedOutcomes) {
    CountTestCases(FailEachOf("data", Join({OfText(), OfExceptions()})));
}

char const shortText[] = "a text, long enough, to be stored apart";
char const otherText[] = "another text";

Operations OfStringPL() {
    static StringPL const constant = shortText;
    static StringPL const constantOther = otherText;
    auto const changing = Operation::Changer([] { return StringPL(shortText); }, ValueText());
    return {
        givingText(CC_TRY(StringPL(shortText))),
        givingText(CC_TRY(StringPL(shortText, 7))),
        givingText(CC_TRY(StringPL(constant))),
        givingText(CC_TRY(constant + otherText)),
        givingText(CC_TRY(constant.Mid(3, 9))),
        givingText(CC_TRY(constant.Mid(3))),
        givingText(CC_TRY(constant.Left(5))),
        givingText(CC_TRY(constant.Right(5))),
        changing(CC_TRY_ON(it = otherText)),
        changing(CC_TRY_ON(it = constantOther)),
        changing(CC_TRY_ON(it += otherText)),
        changing(CC_TRY_ON(it += it)),
        changing(CC_TRY_ON(it += "x")),
        changing(CC_TRY_ON(it.Append(otherText, 20))),
        changing(CC_TRY_ON(it.Append(otherText, 1))),
        changing(CC_TRY_ON(it.Format("%s, %100d", otherText, 5)),
                 {.state = Stated::Shown, .shown = "0 "}),
        changing(CC_TRY_ON(it.Replace(",", " and"))),
        // Earlier replacements remain, and are not searched again.
        changing(CC_TRY_ON(it.ReplaceNoCase("T", " and")), {.state = Stated::AnyValue}),
    };
}

// Longer than the internal storage of the object.
std::string const longText = "Long, " + std::string(150, 'x') + ", text";
std::string const longOther = "Other, " + std::string(170, 'y') + ", text";
std::string const longWhite = "\t " + longText + " \n";

Operations OfStringy() {
    static Stringy const constant(longText);
    static Stringy const constantOther(longOther);
    static auto const bytes = reinterpret_cast<unsigned char const*>(longText.data());
    static auto const size = static_cast<unsigned int>(longText.size());
    auto const changing = Operation::Changer([] { return Stringy(longText); }, ValueText());
    return {
        givingText(CC_TRY(Stringy(longText.c_str()))),
        givingText(CC_TRY(Stringy(longText.data(), size))),
        givingText(CC_TRY(Stringy(bytes, size))),
        givingText(CC_TRY(Stringy(ConstData(longText)))),
        givingText(CC_TRY(Stringy(constant))),
        givingText(CC_TRY(constant.Left(140))),
        givingText(CC_TRY(constant.Right(140))),
        givingText(CC_TRY(constant.Mid(3, 140))),
        givingText(CC_TRY(constant.Mid(3))),
        givingText(CC_TRY(constant.SubstringAfterLastSeparator('L'))),
        givingText(CC_TRY(constant + 'c')),
        givingText(CC_TRY(constant + constantOther)),
        // The old array is released first.
        changing(CC_TRY_ON(it = constantOther), {.state = Stated::Shown, .shown = "0 "}),
        changing(CC_TRY_ON(it = longOther.c_str())),
        changing(CC_TRY_ON(it += 'c')),
        changing(CC_TRY_ON(it += otherText)),
        changing(CC_TRY_ON(it += constantOther)),
        changing(CC_TRY_ON(it += ConstData(otherText))),
        changing(CC_TRY_ON(it += it)),
    };
}

Operations OfStringyInPlace() {
    auto const white = Operation::Changer([] { return Stringy(longWhite); }, ValueText());
    auto const items = Operation::Changer([] { return std::vector<Stringy>(); }, ValueText());
    // The remaining text is assigned, and an assignment first releases the old array.
    Stated const mayBecomeNull = {.state = Stated::Lost, .shown = "0 "};
    return {
        white(CC_TRY_ON(it.TrimLeft()), mayBecomeNull),
            white(CC_TRY_ON(it.StripLeadingAndTrailingWhite()), mayBecomeNull),
            items(CC_TRY_ON(it.clear(); Stringy::SplitSeparatedStringsIntoArray(longText.c_str(),
                                                                                ',', it, 10, true)),
                  {.state = Stated::AnyValue}),
    };
}

// The text on either side is converted to a Stringy first.
template <class Relation>
Operations OfRelation(std::string const& sign, Relation relation) {
    static Stringy const constant(longText);
    static char const* const second = longOther.c_str();
    return {givingText("Stringy " + sign + " text", [=] { return relation(constant, second); }),
            givingText("text " + sign + " Stringy", [=] { return relation(second, constant); })};
}

using List = ListPL<StringPL>;

// Neither copyable nor movable, so a pointer holds it.
std::unique_ptr<List> FilledList() {
    auto list = std::make_unique<List>();
    list->Append(shortText);
    return list;
}

Operations OfContainers() {
    static StringPL const constant = shortText;
    using Texts = Pair<StringPL, StringPL>;
    using Copied = DuplicatingPtr<StringPL>;
    static Copied const held(new StringPL(shortText));
    static NullOr<StringPL> const present = constant;
    auto const pointed = [](auto const& value) {
        return ValueText()(*value);
    };
    auto const onList = Operation::Changer(FilledList, ValueText());
    return {
        onList(CC_TRY_ON(it->Append(constant))),
            onList(CC_TRY_ON(it->MakeEmpty(); it->GetNext()), {.state = Stated::AnyValue}),
            givingText(CC_TRY(NoMoreItemsException())),
            Operation::Giving(CC_TRY(Texts(constant, constant)),
                              [](Texts const& pair) {
                                  return ValueText()(pair.first) + ValueText()(pair.second);
                              }),
            Operation::Giving(CC_TRY(Copied(held)), pointed),
            Operation::Giving(CC_TRY(NullOr<StringPL>(constant)), pointed),
            Operation::Giving(CC_TRY(NullOr<StringPL>(present)), pointed),
            Operation::Changer([] { return NullOr<StringPL>(StringPL(otherText)); },
                               pointed)(CC_TRY_ON(it = present)),
    };
}

TEST(QuickAllocations, FailuresInStringsHaveDocumentedOutcomes) {
    CountTestCases(FailEachOf(
        "strings",
        Join({OfStringPL(), OfStringy(), OfStringyInPlace(), OfRelation("==", std::equal_to()),
              OfRelation("!=", std::not_equal_to()), OfRelation("<", std::less()),
              OfRelation("<=", std::less_equal()), OfRelation(">", std::greater()),
              OfRelation(">=", std::greater_equal()), OfContainers()})));
}

template <class Unit>
std::string ShowUnits(Unit const* begin, Unit const* end) {
    std::string shown;
    for (; begin != end; ++begin)
        shown += std::to_string(static_cast<std::uint64_t>(*begin)) + ' ';
    return shown;
}

struct UnitText {
    template <class E>
    std::string operator()(AutoUString<E> const& text) const {
        return ShowUnits(text.Begin(), text.End());
    }
    template <class Text>
    requires requires(Text const& text) { text.Pointer(); }
    std::string operator()(Text const& text) const {
        return ShowUnits(text.Pointer(), text.Pointer() + text.Count());
    }
    template <class Unit>
    std::string operator()(OwnedArray<Unit> const& array) const {
        return std::to_string(array.Disposer().count);
    }
};

auto const givingUnits = Operation::Giver(UnitText());

// Forty ASCII characters, in code units of any type.
template <class E>
UStringRef<E> Text() {
    static auto const units = [] {
        std::array<typename E::Unit, 40> all;
        std::iota(all.begin(), all.end(), static_cast<typename E::Unit>('A'));
        return all;
    }();
    return UStringRef<E>(units.data(), units.data() + units.size());
}

// Acts on a builder that holds three code units. Its content is preserved.
template <class E, class Act>
Operation OnBuilder(std::string const& name, std::size_t room, Act act) {
    using Builder = std::unique_ptr<UStringBuilder<E>>;
    return Operation(
        name,
        [room] {
            auto builder = std::make_unique<UStringBuilder<E>>(room);
            (*builder)().Start(E());
            (*builder)().Receive(ConstArrayOf<typename E::Unit>(Text<E>().begin, 3ul));
            return builder;
        },
        [act](Builder& builder) { act((*builder)()); },
        [](Builder const& builder) {
            auto const text = builder->Text();
            return ShowUnits(text.begin, text.end);
        });
}

template <class E>
Operations OnBuilders(std::string const& encoding) {
    auto const receive = [](auto& receiver) {
        receiver.Receive(ConstArrayOf<typename E::Unit>(Text<E>().begin, 20ul));
    };
    return {OnBuilder<E>(encoding + " Receive", 3, receive),
            OnBuilder<E>(encoding + " Start", 50, [](auto& receiver) { receiver.Start(E()); })};
}

Operations OfUnicodeStrings() {
    return {
        givingUnits(CC_TRY(MakeUString(Text<UTF8>().begin, Text<UTF8>().end, UTF8()))),
        givingUnits(CC_TRY(MakeUString(Text<UTF16>().begin, Text<UTF16>().end, UTF16()))),
        givingUnits(CC_TRY(MakeUString(Text<UTF32>().begin, Text<UTF32>().end, UTF32()))),
        givingUnits(CC_TRY(Allocate<char>(100))),
        givingUnits(CC_TRY(Allocate<unsigned char>(100))),
        givingUnits(CC_TRY(Allocate<unsigned short>(100))),
        givingUnits(CC_TRY(Allocate<unsigned int>(100))),
        givingUnits(CC_TRY(MakeNullTerminatedString<Local8Bit>(Text<Local8Bit>()))),
        givingUnits(CC_TRY(MakeNullTerminatedString<UTF32>(Text<UTF32>()))),
    };
}

Operations OfTranscoding() {
    return {
        givingUnits(CC_TRY(Transcode<UTF8>(Text<UTF16>()))),
        givingUnits(CC_TRY(Transcode<UTF8>(Text<UTF32>()))),
        givingUnits(CC_TRY(Transcode<UTF16>(Text<UTF8>()))),
        givingUnits(CC_TRY(Transcode<UTF16>(Text<UTF32>()))),
        givingUnits(CC_TRY(Transcode<UTF32>(Text<UTF8>()))),
        givingUnits(CC_TRY(Transcode<UTF32>(Text<UTF16>()))),
        givingUnits(CC_TRY(Transcode<UTF32>(Text<UTF32>()))),
        givingUnits(CC_TRY(Transcode<UTF8>(Text<Local8Bit>()))),
        givingUnits(CC_TRY(Transcode<Local8Bit>(Text<UTF8>()))),
        givingUnits(CC_TRY(UnixPlatform::ToNativeUnicode(Text<Local8Bit>()))),
        givingUnits(CC_TRY(UnixPlatform::ToUTF8(Text<Local8Bit>()))),
        givingUnits(CC_TRY(UnixPlatform::ToUTF16(Text<Local8Bit>()))),
        givingUnits(CC_TRY(UnixPlatform::ToUTF32(Text<Local8Bit>()))),
        givingUnits(CC_TRY(UnixPlatform::FromNativeUnicode(Text<UTF32>()))),
        givingUnits(CC_TRY(UnixPlatform::ToLocal8Bit(Text<UTF8>()))),
        givingUnits(CC_TRY(UnixPlatform::ToLocal8Bit(Text<UTF16>()))),
        givingUnits(CC_TRY(UnixPlatform::ToLocal8Bit(Text<UTF32>()))),
    };
}

TEST(QuickAllocations, FailuresInUnicodeHaveDocumentedOutcomes) {
    CountTestCases(
        FailEachOf("unicode", Join({OfUnicodeStrings(), OfTranscoding(), OnBuilders<UTF8>("UTF8"),
                                    OnBuilders<UTF16>("UTF16"), OnBuilders<UTF32>("UTF32")})));
}

} // namespace
