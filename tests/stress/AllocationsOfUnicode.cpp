#include "data/Numeral.h"
#include "tests/stress/Operations.h"
#include "tests/stress/TestCases.h"
#include "unicode/AutoNullTerminated.h"
#include "unicode/AutoUString.h"
#include "unicode/LocalEncoding.h"
#include "unicode/Owned.h"
#include "unicode/Transcode.h"
#include "unicode/UStringBuilder.h"
#include "unicode/UStringRef.h"

namespace {

using namespace Stress;

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

// Forty letters, in code units of any type.
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

// Acts on a builder with space for three code units. Its content is preserved.
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
    return {OnBuilder<E>(encoding + " Receive", 3,
                         [](auto& receiver) {
                             receiver.Receive(
                                 ConstArrayOf<typename E::Unit>(Text<E>().begin, 20ul));
                         }),
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
