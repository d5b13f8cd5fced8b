// Round trip of the rows of compliance-query through TSV and JSON, for arbitrary bytes, and the
// properties of readable and visible text.
#include <cstdint>
#include <cstdio>
#include <deque>

#include <nlohmann/json.hpp>

#include "companions/JsonRows.h"
#include "companions/Rows.h"
#include "fuzz/Fuzz.h"
#include "tests/companions/RowList.h"

namespace {

using Json = nlohmann::json;
using Texts = std::vector<std::string>;

unsigned int ByteAt(std::string_view text, std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
}

struct Character {
    std::size_t length; // 0 for an ill-formed sequence.
    std::uint32_t value;
};

// Reference UTF-8 decoder: computes the value first, then rejects overlong encodings, surrogates
// and values out of range.
Character CharacterAt(std::string_view text) {
    std::uint32_t const lead = ByteAt(text, 0);
    if (lead < 0x80)
        return {1, lead};
    std::size_t length = 0;
    for (unsigned int bit = 0x80; (lead & bit) != 0; bit >>= 1)
        ++length;
    if (length < 2 || length > 4 || length > text.size())
        return {0, 0};
    std::uint32_t value = lead & (0x7FU >> length);
    for (std::size_t at = 1; at < length; ++at) {
        if ((ByteAt(text, at) & 0xC0) != 0x80)
            return {0, 0};
        value = value << 6 | (ByteAt(text, at) & 0x3F);
    }
    std::uint32_t const least[] = {0, 0, 0x80, 0x800, 0x10000};
    bool const isGood =
        value >= least[length] && value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
    return isGood ? Character{length, value} : Character{0, 0};
}

// Reference of MakeReadable.
std::string Readable(std::string_view text) {
    std::string readable;
    while (!text.empty()) {
        std::size_t const length = CharacterAt(text).length;
        char escape[8];
        std::snprintf(escape, sizeof(escape), "\\x%02x", ByteAt(text, 0));
        readable += length == 0 ? std::string_view(escape) : text.substr(0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return readable;
}

// True for well-formed UTF-8.
bool IsText(std::string_view text) { return Readable(text) == text; }

std::string FromBase64(std::string const& text) {
    std::string const alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    Require(text.size() % 4 == 0, "base64 has groups of four characters");
    std::string bytes;
    std::uint32_t bits = 0;
    int count = 0;
    for (char digit : text.substr(0, text.find('='))) {
        bits = (bits << 6 | static_cast<std::uint32_t>(alphabet.find(digit))) & 0xFFFFFF;
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>(bits >> count & 0xFF);
        }
    }
    return bytes;
}

void CompareObject(Json const& object, Row const& row) {
    for (std::size_t field = 0; field < row.size(); ++field) {
        std::string const text(row[field]);
        std::string const exactName = std::string(rowFieldNames[field]) + "Base64";
        Require(object.at(rowFieldNames[field]) == Readable(text), "a field has readable text");
        bool const isText = IsText(text);
        Require(object.contains(exactName) == !isText,
                "only fields that are not UTF-8 have their bytes");
        Require(isText || FromBase64(object.at(exactName)) == text,
                "the bytes of a field are restored");
    }
}

Texts Split(std::string const& text, char separator) {
    Texts pieces(1);
    for (char byte : text) {
        if (byte == separator)
            pieces.emplace_back();
        else
            pieces.back() += byte;
    }
    return pieces;
}

void CompareJson(RowList const& list) {
    Provenance const provenance;
    Texts const lines = Split(
        OutputOf([&](Output& output) { WriteNdjson(RowsOf(list), provenance, output); }), '\n');
    Require(lines.size() == list.size() + 2 && lines.back().empty(), "each row is a line");
    Json all = Json::array();
    for (std::size_t row = 0; row < list.size(); ++row) {
        all.push_back(Json::parse(lines[row + 1]));
        CompareObject(all.back(), list[row]);
    }
    Json const document =
        Json::parse(OutputOf([&](Output& output) { WriteJson(RowsOf(list), provenance, output); }));
    Require(document.at("rows") == all && document.at("rowCount") == list.size(),
            "the document has the same rows");
    std::size_t counted = 0;
    for (Json const& count : document.at("provenance").at("results"))
        counted += count.get<std::size_t>();
    Require(counted == list.size(), "each row is counted once");
}

std::string Unescaped(std::string const& field) {
    std::string text;
    for (std::size_t at = 0; at < field.size(); ++at) {
        if (field[at] != '\\') {
            text += field[at];
            continue;
        }
        std::size_t const which = std::string("tnr\\").find(field[++at]);
        Require(which != std::string::npos, "an escape is one of four");
        text += "\t\n\r\\"[which];
    }
    return text;
}

void CompareTsv(RowList const& list) {
    Texts const lines =
        Split(OutputOf([&](Output& output) { WriteTsv(RowsOf(list), output); }), '\n');
    Require(lines.size() == list.size() + 2 && lines.back().empty(), "each row is a line");
    for (std::size_t row = 0; row < list.size(); ++row) {
        Texts const fields = Split(lines[row + 1], '\t');
        Require(fields.size() == list[row].size(), "a line has six fields");
        for (std::size_t field = 0; field < fields.size(); ++field)
            Require(Unescaped(fields[field]) == list[row][field], "a field is restored");
    }
}

bool MovesNothing(std::uint32_t value) {
    bool const isControl = value < 0x20 || (value >= 0x7F && value <= 0x9F);
    bool const turns = value == 0x61C || value == 0x200E || value == 0x200F || value == 0x2028 ||
                       value == 0x2029 || (value >= 0x202A && value <= 0x202E) ||
                       (value >= 0x2066 && value <= 0x2069);
    return !isControl && !turns;
}

void CompareVisible(std::string_view text) {
    std::string const visible = MakeVisible(text);
    Require(MakeReadable(text) == Readable(text),
            "readable text escapes the bytes of ill-formed sequences");
    for (std::string_view rest = visible; !rest.empty();) {
        Character const character = CharacterAt(rest);
        Require(character.length != 0 && MovesNothing(character.value),
                "visible text has no control or bidirectional characters");
        rest.remove_prefix(character.length);
    }
}

} // namespace

// Input: texts with length prefixes, six for each row.
int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    std::deque<std::string> texts;
    RowList list;
    while (list.size() < 6 && !input.IsEmpty())
        for (std::string_view& field : list.emplace_back())
            CompareVisible(field = texts.emplace_back(input.Text()));
    CompareJson(list);
    CompareTsv(list);
    return 0;
}
