#include "tests/torture/AllocationsOfFolders.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "strings/ListPL.h"
#include "strings/SmallContainers.h"
#include "strings/StringPL.h"
#include "strings/Stringy.h"
#include "tests/torture/Operations.h"

namespace {

using Torture::Operation;
using Torture::Operations;
using Torture::Stated;

char const shortText[] = "a text, long enough, to be stored apart";
char const otherText[] = "another text";

std::string Show(StringPL const& string) {
    return std::to_string(string.GetLength()) + ' ' + string.AsChar();
}

StringPL Text() { return shortText; }

template <class Act>
Operation OnStringPL(std::string const& name, Act act, Stated stated = {}) {
    return Operation("StringPL" + name, Text, act, Show, std::move(stated));
}

template <class Yield>
Operation GivingStringPL(std::string const& name, Yield yield) {
    return Operation::Giving("StringPL" + name, yield, Show);
}

Operations OfStringPL() {
    static StringPL const constant = shortText;
    static StringPL const constantOther = otherText;
    return {
        GivingStringPL("(char const*)", [] { return StringPL(shortText); }),
        GivingStringPL("(char const*, unsigned)", [] { return StringPL(shortText, 7); }),
        GivingStringPL("(StringPL const&)", [] { return StringPL(constant); }),
        GivingStringPL("::operator+", [] { return constant + otherText; }),
        GivingStringPL("::Mid(int, int)", [] { return constant.Mid(3, 9); }),
        GivingStringPL("::Mid(int)", [] { return constant.Mid(3); }),
        GivingStringPL("::Left", [] { return constant.Left(5); }),
        GivingStringPL("::Right", [] { return constant.Right(5); }),
        OnStringPL("::operator=(char const*)", [](StringPL& string) { string = otherText; }),
        OnStringPL("::operator=(StringPL const&)",
                   [](StringPL& string) { string = constantOther; }),
        OnStringPL("::operator+=", [](StringPL& string) { string += otherText; }),
        OnStringPL("::operator+= of itself", [](StringPL& string) { string += string; }),
        OnStringPL("::operator+= of a byte", [](StringPL& string) { string += "x"; }),
        OnStringPL("::Append", [](StringPL& string) { string.Append(otherText, 20); }),
        OnStringPL("::Append of a byte", [](StringPL& string) { string.Append(otherText, 1); }),
        OnStringPL("::Format", [](StringPL& string) { string.Format("%s, %100d", otherText, 5); },
                   {.state = Stated::Shown, .shown = "0 "}),
        OnStringPL("::Replace", [](StringPL& string) { string.Replace(",", " and"); }),
        // What was replaced before stays replaced, and is not searched again.
        OnStringPL("::ReplaceNoCase", [](StringPL& string) { string.ReplaceNoCase("T", " and"); },
                   {.state = Stated::AnyValue}),
    };
}

// Longer than what fits into the object.
std::string const longText = "Long, " + std::string(150, 'x') + ", text";
std::string const longOther = "Other, " + std::string(170, 'y') + ", text";
std::string const longWhite = "\t " + longText + " \n";

std::string ShowStringy(Stringy const& string) {
    return std::to_string(string.GetLength()) + ' ' + static_cast<char const*>(string);
}

template <class Act>
Operation OnStringy(std::string const& name, Act act, Stated stated = {}) {
    return Operation(
        "Stringy" + name, [] { return Stringy(longText); }, act, ShowStringy, std::move(stated));
}

template <class Yield>
Operation GivingStringy(std::string const& name, Yield yield) {
    return Operation::Giving("Stringy" + name, yield, ShowStringy);
}

Operations OfStringy() {
    static Stringy const constant(longText);
    static Stringy const constantOther(longOther);
    static auto const bytes = reinterpret_cast<unsigned char const*>(longText.data());
    static auto const size = static_cast<unsigned int>(longText.size());
    return {
        GivingStringy("(char const*)", [] { return Stringy(longText.c_str()); }),
        GivingStringy("(char const*, unsigned)", [] { return Stringy(longText.data(), size); }),
        GivingStringy("(unsigned char const*, unsigned)", [] { return Stringy(bytes, size); }),
        GivingStringy("(ConstData)", [] { return Stringy(ConstData(longText)); }),
        GivingStringy("(Stringy const&)", [] { return Stringy(constant); }),
        GivingStringy("::Left", [] { return constant.Left(140); }),
        GivingStringy("::Right", [] { return constant.Right(140); }),
        GivingStringy("::Mid(int, int)", [] { return constant.Mid(3, 140); }),
        GivingStringy("::Mid(int)", [] { return constant.Mid(3); }),
        GivingStringy("::SubstringAfterLastSeparator",
                      [] { return constant.SubstringAfterLastSeparator('L'); }),
        GivingStringy(" + char", [] { return constant + 'c'; }),
        GivingStringy(" + Stringy", [] { return constant + constantOther; }),
        // The old array goes first.
        OnStringy("::operator=(Stringy const&)", [](Stringy& string) { string = constantOther; },
                  {.state = Stated::Shown, .shown = "0 "}),
        OnStringy("::operator=(char const*)", [](Stringy& string) { string = longOther.c_str(); }),
        OnStringy("::operator+=(char)", [](Stringy& string) { string += 'c'; }),
        OnStringy("::operator+=(char const*)", [](Stringy& string) { string += otherText; }),
        OnStringy("::operator+=(Stringy const&)", [](Stringy& string) { string += constantOther; }),
        OnStringy("::operator+=(ConstData const&)",
                  [](Stringy& string) { string += ConstData(otherText); }),
        OnStringy("::operator+= of itself", [](Stringy& string) { string += string; }),
    };
}

Operations OfStringyInPlace() {
    auto const white = [] {
        return Stringy(longWhite);
    };
    // What is left is assigned, and an assignment frees the old array first.
    Stated const mayBecomeNull = {.state = Stated::Lost, .shown = "0 "};
    return {
        Operation(
            "Stringy::TrimLeft", white, [](Stringy& string) { string.TrimLeft(); }, ShowStringy,
            mayBecomeNull),
        Operation(
            "Stringy::StripLeadingAndTrailingWhite", white,
            [](Stringy& string) { string.StripLeadingAndTrailingWhite(); }, ShowStringy,
            mayBecomeNull),
        Operation(
            "Stringy::SplitSeparatedStringsIntoArray", [] { return std::vector<Stringy>(); },
            [](std::vector<Stringy>& items) {
                items.clear();
                Stringy::SplitSeparatedStringsIntoArray(longText.c_str(), ',', items, 10, true);
            },
            [](std::vector<Stringy> const& items) {
                std::string shown;
                for (Stringy const& item : items)
                    shown += ShowStringy(item) + '|';
                return shown;
            },
            {.state = Stated::AnyValue}),
    };
}

// A text is made a Stringy before it is compared, on either side.
template <class Relation>
Operations OfRelation(std::string const& sign, Relation relation) {
    static Stringy const constant(longText);
    static char const* const second = longOther.c_str();
    auto const giving = Operation::Giver([](bool value) { return std::to_string(value); });
    return {giving("Stringy " + sign + " char const*", [=] { return relation(constant, second); }),
            giving("char const* " + sign + " Stringy", [=] { return relation(second, constant); })};
}

Operations OfStringyRelations() {
    return Torture::Join({OfRelation("==", std::equal_to()), OfRelation("!=", std::not_equal_to()),
                          OfRelation("<", std::less()), OfRelation("<=", std::less_equal()),
                          OfRelation(">", std::greater()), OfRelation(">=", std::greater_equal())});
}

using List = ListPL<StringPL>;

std::string ShowList(List const& list) {
    std::string shown;
    for (list.ResetEnum(); list.IsNext();)
        shown += Show(list.GetNext()) + '|';
    return shown;
}

// Neither copied nor moved, so it is held.
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
    return {
        Operation(
            "ListPL::Append", FilledList,
            [](std::unique_ptr<List>& list) { list->Append(constant); },
            [](std::unique_ptr<List> const& list) { return ShowList(*list); }),
        Operation(
            "ListPL::GetNext at the end", FilledList,
            [](std::unique_ptr<List>& list) {
                list->MakeEmpty();
                list->GetNext();
            },
            [](std::unique_ptr<List> const& list) { return ShowList(*list); },
            {.state = Stated::AnyValue}),
        Operation::Giving(
            "NoMoreItemsException", [] { return NoMoreItemsException(); },
            [](NoMoreItemsException const& exception) { return exception.what(); }),
        Operation::Giving(
            "Pair", [] { return Texts(constant, constant); },
            [](Texts const& pair) { return Show(pair.first) + Show(pair.second); }),
        Operation::Giving(
            "DuplicatingPtr(DuplicatingPtr const&)", [] { return Copied(held); },
            [](Copied const& copy) { return Show(*copy); }),
        Operation::Giving(
            "NullOr(T const&)", [] { return NullOr<StringPL>(constant); },
            [](NullOr<StringPL> const& value) { return Show(*value); }),
        Operation::Giving(
            "NullOr(NullOr const&)", [] { return NullOr<StringPL>(present); },
            [](NullOr<StringPL> const& value) { return Show(*value); }),
        Operation(
            "NullOr::operator=", [] { return NullOr<StringPL>(StringPL(otherText)); },
            [](NullOr<StringPL>& value) { value = present; },
            [](NullOr<StringPL> const& value) { return Show(*value); }),
    };
}

} // namespace

std::size_t Torture::FailAllocationsOfStrings() {
    return FailEachOf("strings", Join({OfStringPL(), OfStringy(), OfStringyInPlace(),
                                       OfStringyRelations(), OfContainers()}));
}
