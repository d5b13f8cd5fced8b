#include "tests/torture/AllocationsOfFolders.h"

#include <cstdint>
#include <string>

#include "data/Numeral.h"
#include "tests/torture/Operations.h"
#include "unicode/AutoNullTerminated.h"
#include "unicode/AutoUString.h"
#include "unicode/LocalEncoding.h"
#include "unicode/Owned.h"
#include "unicode/Transcode.h"
#include "unicode/UStringBuilder.h"
#include "unicode/UStringRef.h"

namespace {

using Torture::Operation;
using Torture::Operations;
using Torture::Stated;

template <class Unit>
std::string ShowUnits(Unit const* begin, Unit const* end) {
    std::string shown;
    for (; begin != end; ++begin)
        shown += std::to_string(static_cast<std::uint64_t>(*begin)) + ' ';
    return shown;
}

template <class E>
std::string Show(AutoUString<E> const& text) {
    return ShowUnits(text.Begin(), text.End());
}

// Forty letters, in units of any kind.
template <class E>
UStringRef<E> Text() {
    struct Units {
        Units() {
            for (unsigned int i = 0; i < 40; ++i)
                units[i] = static_cast<typename E::Unit>('a' + i % 26);
        }
        typename E::Unit units[40];
    };
    static Units const text;
    return UStringRef<E>(text.units, text.units + 40);
}

template <class E>
Operation MakingUString(std::string const& encoding) {
    return Operation::Giving(
        "MakeUString<" + encoding + ">",
        [] { return MakeUString(Text<E>().begin, Text<E>().end, E()); }, Show<E>);
}

template <class Unit>
Operation Allocating(std::string const& unit) {
    return Operation::Giving(
        "Allocate<" + unit + ">", [] { return Allocate<Unit>(100); },
        [](OwnedArray<Unit> const& array) { return std::to_string(array.Disposer().count); });
}

template <class E>
Operation Terminating(std::string const& encoding) {
    return Operation::Giving(
        "MakeNullTerminatedString<" + encoding + ">",
        [] { return MakeNullTerminatedString<E>(Text<E>()); },
        [](auto const& text) { return ShowUnits(text.Pointer(), text.Pointer() + text.Count()); });
}

template <class Target, class Source>
Operation Transcoding(std::string const& target, std::string const& source) {
    return Operation::Giving(
        "Transcode<" + target + ", " + source + ">",
        [] { return Transcode<Target>(Text<Source>()); }, Show<Target>);
}

// An act on a builder of that room, which holds three units. What it held is still held.
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
Operation Collecting(std::string const& encoding) {
    return OnBuilder<E>("UStringBuilder<" + encoding + ">::Receive", 3, [](auto& receiver) {
        receiver.Receive(ConstArrayOf<typename E::Unit>(Text<E>().begin, 20ul));
    });
}

template <class E>
Operation Starting(std::string const& encoding) {
    return OnBuilder<E>("UStringBuilder<" + encoding + ">::Start", 50,
                        [](auto& receiver) { receiver.Start(E()); });
}

template <class E>
Operation FromLocale(std::string const& name, AutoUString<E> (*convert)(UStringRef<Local8Bit>)) {
    return Operation::Giving(
        name, [convert] { return convert(Text<Local8Bit>()); }, Show<E>);
}

template <class E>
Operation ToLocale(std::string const& name, AutoUString<Local8Bit> (*convert)(UStringRef<E>)) {
    return Operation::Giving(
        name, [convert] { return convert(Text<E>()); }, Show<Local8Bit>);
}

Operations OfStrings() {
    return {
        MakingUString<UTF8>("UTF8"),
        MakingUString<UTF16>("UTF16"),
        MakingUString<UTF32>("UTF32"),
        Allocating<char>("char"),
        Allocating<unsigned char>("unsigned char"),
        Allocating<unsigned short>("unsigned short"),
        Allocating<unsigned int>("unsigned int"),
        Terminating<Local8Bit>("Local8Bit"),
        Terminating<UTF32>("UTF32"),
        Collecting<UTF8>("UTF8"),
        Collecting<UTF16>("UTF16"),
        Collecting<UTF32>("UTF32"),
        Starting<UTF8>("UTF8"),
        Starting<UTF16>("UTF16"),
        Starting<UTF32>("UTF32"),
    };
}

Operations OfTranscoding() {
    return {
        Transcoding<UTF8, UTF16>("UTF8", "UTF16"),
        Transcoding<UTF8, UTF32>("UTF8", "UTF32"),
        Transcoding<UTF16, UTF8>("UTF16", "UTF8"),
        Transcoding<UTF16, UTF32>("UTF16", "UTF32"),
        Transcoding<UTF32, UTF8>("UTF32", "UTF8"),
        Transcoding<UTF32, UTF16>("UTF32", "UTF16"),
        Transcoding<UTF32, UTF32>("UTF32", "UTF32"),
        Transcoding<UTF8, Local8Bit>("UTF8", "Local8Bit"),
        Transcoding<Local8Bit, UTF8>("Local8Bit", "UTF8"),
    };
}

Operations OfTheLocale() {
    return {
        FromLocale<UTF32>("ToNativeUnicode", UnixPlatform::ToNativeUnicode),
        FromLocale<UTF8>("ToUTF8", UnixPlatform::ToUTF8),
        FromLocale<UTF16>("ToUTF16", UnixPlatform::ToUTF16),
        FromLocale<UTF32>("ToUTF32", UnixPlatform::ToUTF32),
        ToLocale<UTF32>("FromNativeUnicode", UnixPlatform::FromNativeUnicode),
        ToLocale<UTF8>("ToLocal8Bit(UTF8)", UnixPlatform::ToLocal8Bit),
        ToLocale<UTF16>("ToLocal8Bit(UTF16)", UnixPlatform::ToLocal8Bit),
        ToLocale<UTF32>("ToLocal8Bit(UTF32)", UnixPlatform::ToLocal8Bit),
    };
}

} // namespace

std::size_t Torture::FailAllocationsOfUnicode() {
    return FailEachOf("unicode", Join({OfStrings(), OfTranscoding(), OfTheLocale()}));
}
