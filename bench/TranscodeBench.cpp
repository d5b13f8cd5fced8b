// Transcoding between UTF-8, UTF-16 and UTF-32, of whole texts and of streams, compared with iconv
// of the C library, ICU and Boost.
#include <map>
#include <string>

#include <malloc.h>

#include "bench/Bench.h"
#include "bench/Inputs.h"
#include "bench/Transcoders.h"

namespace {

Texts MakeTexts(std::string const& utf8) {
    Texts texts;
    texts.utf8 = utf8;
    auto const utf16 = IconvTranscoding::Whole<UTF16, UTF8>(texts);
    texts.utf16.assign(utf16.characters.get(), utf16.length);
    auto const utf32 = IconvTranscoding::Whole<UTF32, UTF8>(texts);
    texts.utf32.assign(utf32.characters.get(), utf32.length);
    return texts;
}

Texts const& TextsOf(Inputs::Script script) {
    static std::map<Inputs::Script, Texts> made;
    auto const found = made.find(script);
    return found != made.end()
               ? found->second
               : made.emplace(script, MakeTexts(Inputs::UnicodeText(script))).first->second;
}

// Return the bytes of a result, for comparison.
template <class Character>
std::string BytesOf(Character const* characters, std::size_t length) {
    return std::string(reinterpret_cast<char const*>(characters), length * sizeof(Character));
}
template <class E>
std::string BytesOf(AutoUString<E> const& text) {
    return BytesOf(text.Begin(), text.Length());
}
template <class E>
std::string BytesOf(Filled<E> const& text) {
    return BytesOf(text.characters.get(), text.length);
}
template <class Character>
std::string BytesOf(std::basic_string<Character> const& text) {
    return BytesOf(text.data(), text.size());
}

#ifdef HAVE_ICU
std::string BytesOf(icu::UnicodeString const& text) {
    return BytesOf(text.getBuffer(), static_cast<std::size_t>(text.length()));
}
#endif

template <class Target, class Source, class Who>
void AddWhole(Operation<Texts>& operation, std::string const& name) {
    auto const work = [](Texts const& texts) {
        return Who::template Whole<Target, Source>(texts);
    };
    operation.Add(name, work, [work](Texts const& texts) { return BytesOf(work(texts)); });
}

template <class Target, class Source, class Who>
void AddStream(Operation<Texts>& operation, std::string const& name) {
    auto const work = [](Texts const& texts) {
        std::size_t units = 0;
        Who::template Stream<Target, Source>(texts, [&](auto const* block, std::size_t length) {
            benchmark::DoNotOptimize(block);
            units += length;
        });
        return units;
    };
    operation.Add(name, work, [](Texts const& texts) {
        std::string bytes;
        Who::template Stream<Target, Source>(
            texts, [&](auto const* block, std::size_t length) { bytes += BytesOf(block, length); });
        return bytes;
    });
}

template <class Target, class Source>
void AddPair(std::string const& pair, Inputs::Script script, std::string const& scriptName) {
    auto const texts = [script]() -> auto& { return TextsOf(script); };
    auto const size = [](Texts const& made) {
        return made.In<Source>().size() * sizeof(CharacterOf<Source>);
    };
    Operation<Texts> whole("Transcode/" + pair + "-" + scriptName, texts, size);
    AddWhole<Target, Source, OurTranscoding>(whole, "ours");
    AddWhole<Target, Source, IconvTranscoding>(whole, "iconv");
    Operation<Texts> stream("Transcode/stream-" + pair + "-" + scriptName, texts, size);
    AddStream<Target, Source, OurTranscoding>(stream, "ours");
    AddStream<Target, Source, IconvTranscoding>(stream, "iconv");
#ifdef HAVE_BOOST
    AddWhole<Target, Source, BoostTranscoding>(whole, "boost");
#endif
#ifdef HAVE_ICU
    AddWhole<Target, Source, IcuTranscoding>(whole, "icu");
    AddStream<Target, Source, IcuTranscoding>(stream, "icu");
    if constexpr (std::is_same_v<Target, UTF16> && std::is_same_v<Source, UTF8>)
        AddWhole<Target, Source, IcuStringTranscoding>(whole, "icu-string");
#endif
}

void AddScript(Inputs::Script script, std::string const& name) {
    AddPair<UTF16, UTF8>("utf8-utf16", script, name);
    AddPair<UTF32, UTF8>("utf8-utf32", script, name);
    AddPair<UTF8, UTF16>("utf16-utf8", script, name);
    AddPair<UTF32, UTF16>("utf16-utf32", script, name);
    AddPair<UTF8, UTF32>("utf32-utf8", script, name);
    AddPair<UTF16, UTF32>("utf32-utf16", script, name);
}

} // namespace

void RegisterOperations() {
    // Keep freed memory in the process. The sizes of the results are close to the thresholds at
    // which the allocator returns memory to the system. Contenders above a threshold would mostly
    // measure the allocation of pages.
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
    AddScript(Inputs::Script::Ascii, "ascii");
    AddScript(Inputs::Script::Latin, "latin");
    AddScript(Inputs::Script::Cyrillic, "cyrillic");
    AddScript(Inputs::Script::Cjk, "cjk");
    AddScript(Inputs::Script::Emoji, "emoji");
    AddScript(Inputs::Script::Mixed, "mixed");
}
