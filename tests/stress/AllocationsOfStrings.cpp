#include "strings/ListPL.h"
#include "strings/SmallContainers.h"
#include "strings/StringPL.h"
#include "strings/Stringy.h"
#include "tests/stress/Operations.h"
#include "tests/stress/TestCases.h"

namespace {

using namespace Stress;

char const shortText[] = "a text, long enough, to be stored apart";
char const otherText[] = "another text";

struct StringText : AsText {
    using AsText::operator();
    std::string operator()(StringPL const& string) const {
        return std::to_string(string.GetLength()) + ' ' + string.AsChar();
    }
    std::string operator()(Stringy const& string) const {
        return std::to_string(string.GetLength()) + ' ' + static_cast<char const*>(string);
    }
    std::string operator()(std::vector<Stringy> const& items) const {
        return JoinTexts(items, *this);
    }
};

auto const givingString = Operation::Giver(StringText());

Operations OfStringPL() {
    static StringPL const constant = shortText;
    static StringPL const constantOther = otherText;
    auto const changing = Operation::Changer([] { return StringPL(shortText); }, StringText());
    return {
        givingString(CC_TRY(StringPL(shortText))),
        givingString(CC_TRY(StringPL(shortText, 7))),
        givingString(CC_TRY(StringPL(constant))),
        givingString(CC_TRY(constant + otherText)),
        givingString(CC_TRY(constant.Mid(3, 9))),
        givingString(CC_TRY(constant.Mid(3))),
        givingString(CC_TRY(constant.Left(5))),
        givingString(CC_TRY(constant.Right(5))),
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
    auto const changing = Operation::Changer([] { return Stringy(longText); }, StringText());
    return {
        givingString(CC_TRY(Stringy(longText.c_str()))),
        givingString(CC_TRY(Stringy(longText.data(), size))),
        givingString(CC_TRY(Stringy(bytes, size))),
        givingString(CC_TRY(Stringy(ConstData(longText)))),
        givingString(CC_TRY(Stringy(constant))),
        givingString(CC_TRY(constant.Left(140))),
        givingString(CC_TRY(constant.Right(140))),
        givingString(CC_TRY(constant.Mid(3, 140))),
        givingString(CC_TRY(constant.Mid(3))),
        givingString(CC_TRY(constant.SubstringAfterLastSeparator('L'))),
        givingString(CC_TRY(constant + 'c')),
        givingString(CC_TRY(constant + constantOther)),
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
    auto const white = Operation::Changer([] { return Stringy(longWhite); }, StringText());
    auto const items = Operation::Changer([] { return std::vector<Stringy>(); }, StringText());
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
    return {givingString("Stringy " + sign + " text", [=] { return relation(constant, second); }),
            givingString("text " + sign + " Stringy", [=] { return relation(second, constant); })};
}

using List = ListPL<StringPL>;

struct ListText {
    std::string operator()(std::unique_ptr<List> const& list) const {
        std::string shown;
        for (list->ResetEnum(); list->IsNext();)
            shown += StringText()(list->GetNext()) + '|';
        return shown;
    }
};

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
        return StringText()(*value);
    };
    auto const onList = Operation::Changer(FilledList, ListText());
    return {
        onList(CC_TRY_ON(it->Append(constant))),
            onList(CC_TRY_ON(it->MakeEmpty(); it->GetNext()), {.state = Stated::AnyValue}),
            givingString(CC_TRY(NoMoreItemsException())),
            Operation::Giving(CC_TRY(Texts(constant, constant)),
                              [](Texts const& pair) {
                                  return StringText()(pair.first) + StringText()(pair.second);
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

} // namespace
