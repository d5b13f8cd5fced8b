#include "bench/Inputs.h"

#include <algorithm>
#include <map>
#include <utility>

namespace Inputs {

namespace {

constexpr std::size_t textSize = 65536;

std::string Words(Numbers& numbers, std::size_t size) {
    static constexpr std::string_view letters = "etaoinshrdlucmfwypvbgkjqxz";
    std::string words;
    while (words.size() < size) {
        // The minimum of two numbers favours the frequent letters at the front.
        for (std::size_t left = numbers.Between(2, 9); left > 0 && words.size() < size; --left)
            words += letters[std::min(numbers.Between(0, 25), numbers.Between(0, 25))];
        if (words.size() + 1 < size)
            words += ' ';
    }
    return words;
}

std::string Digits(Numbers& numbers, std::size_t size) {
    std::string digits(1, static_cast<char>('1' + numbers.Between(0, 8)));
    while (digits.size() < size)
        digits += static_cast<char>('0' + numbers.Between(0, 9));
    return digits;
}

void PutEscapes(Numbers& numbers, std::string& text) {
    for (std::size_t place = numbers.Between(0, 9); place < text.size();
         place += numbers.Between(5, 15))
        text[place] = "<>&"[numbers.Between(0, 2)];
}

Row MakeRow(Numbers& numbers, Escapes escapes) {
    Row row;
    row.designator = "baseline-" + Words(numbers, numbers.Between(21, 51));
    row.result = Words(numbers, numbers.Between(10, 40));
    row.resultType = Words(numbers, numbers.Between(8, 12));
    row.evaluationTime = Digits(numbers, numbers.Between(13, 16));
    row.description = Words(numbers, numbers.Between(70, 90));
    row.comment = Words(numbers, numbers.Between(30, 50));
    if (escapes == Escapes::Many) {
        PutEscapes(numbers, row.description);
        PutEscapes(numbers, row.comment);
    }
    return row;
}

void AppendEscaped(std::string& document, std::string const& text) {
    for (char byte : text) {
        switch (byte) {
        case '<':
            document += "&lt;";
            break;
        case '>':
            document += "&gt;";
            break;
        case '&':
            document += "&amp;";
            break;
        default:
            document += byte;
        }
    }
}

void AppendElement(std::string& document, std::string_view tabs, std::string const& name,
                   std::string const& text) {
    document.append(tabs) += "<" + name + ">";
    AppendEscaped(document, text);
    document += "</" + name + ">\r\n";
}

void AppendRow(std::string& document, Row const& row) {
    document += "\t<ResponseItem>\r\n";
    AppendElement(document, "\t\t", "Designator", row.designator);
    AppendElement(document, "\t\t", "Result", row.result);
    AppendElement(document, "\t\t", "ResultType", row.resultType);
    AppendElement(document, "\t\t", "EvaluationTime", row.evaluationTime);
    AppendElement(document, "\t\t", "Description", row.description);
    AppendElement(document, "\t\t", "Comment", row.comment);
    document += "\t</ResponseItem>\r\n";
}

template <class Fill>
std::string MakeDocument(Fill fill) {
    std::string document = "<?xml version=\"1.0\"?>\r\n"
                           "<VeskaClientComplianceResponse Version=\"1.0\">\r\n";
    AppendElement(document, "\t", "ResponseType", "Progress");
    AppendElement(document, "\t", "ResponseProgressState", "1");
    AppendElement(document, "\t", "ResponseProgressError", "0");
    AppendElement(document, "\t", "ResponseProgressPercent", "100");
    fill(document);
    return document + "</VeskaClientComplianceResponse>";
}

// Returns make() of the first call with this key.
template <class Key, class Make>
auto const& Kept(Key const& key, Make make) {
    static std::map<Key, decltype(make())> made;
    auto const found = made.find(key);
    return found != made.end() ? found->second : made.emplace(key, make()).first->second;
}

void AppendUTF8(std::string& text, char32_t character) {
    auto const tail = [&](int shift) {
        text += static_cast<char>(0x80 | ((character >> shift) & 0x3F));
    };
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += static_cast<char>(0xC0 | (character >> 6));
        tail(0);
    } else if (character < 0x10000) {
        text += static_cast<char>(0xE0 | (character >> 12));
        tail(6);
        tail(0);
    } else {
        text += static_cast<char>(0xF0 | (character >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

char32_t Letter(Numbers& numbers, char32_t first, char32_t last) {
    return first + static_cast<char32_t>(numbers.Between(0, last - first));
}

char32_t NextCharacter(Numbers& numbers, Script script) {
    switch (script) {
    case Script::Ascii:
        break;
    case Script::Latin: // About one character in six has an accent.
        if (numbers.Between(0, 5) == 0)
            return Letter(numbers, 0xE0, 0xFF);
        break;
    case Script::Cyrillic:
        if (numbers.Between(0, 6) != 0)
            return Letter(numbers, 0x430, 0x44F);
        return ' ';
    case Script::Cjk:
        return numbers.Between(0, 15) != 0 ? Letter(numbers, 0x4E00, 0x9FA5) : 0x3002;
    case Script::Emoji:
        return Letter(numbers, 0x1F300, 0x1F5FF);
    case Script::Mixed:
        static constexpr Script others[] = {Script::Ascii, Script::Latin, Script::Cyrillic,
                                            Script::Cjk, Script::Emoji};
        return NextCharacter(numbers, others[numbers.Between(0, 4)]);
    }
    return numbers.Between(0, 6) == 0 ? U' ' : Letter(numbers, 'a', 'z');
}

} // namespace

std::uint64_t Numbers::Next() {
    state ^= state >> 12;
    state ^= state << 25;
    state ^= state >> 27;
    return state * 0x2545F4914F6CDD1D;
}

std::size_t Numbers::Between(std::size_t least, std::size_t most) {
    return least + static_cast<std::size_t>((Next() >> 11) % (most - least + 1));
}

std::vector<Row> const& Rows(std::size_t count, Escapes escapes) {
    return Kept(std::pair(count, escapes), [&] {
        Numbers numbers(20240229);
        std::vector<Row> rows;
        rows.reserve(count);
        while (rows.size() < count)
            rows.push_back(MakeRow(numbers, escapes));
        return rows;
    });
}

std::string const& ResponseDocument(std::size_t rows, Escapes escapes) {
    return Kept(std::pair(rows, escapes), [&] {
        return MakeDocument([&](std::string& document) {
            for (Row const& row : Rows(rows, escapes))
                AppendRow(document, row);
        });
    });
}

std::vector<std::string> const& LongTexts() {
    static std::vector<std::string> const texts = [] {
        Numbers numbers(64);
        std::vector<std::string> made;
        while (made.size() < 16)
            made.push_back(Words(numbers, textSize));
        return made;
    }();
    return texts;
}

std::string const& LongTextDocument() {
    static std::string const document = MakeDocument([](std::string& made) {
        for (std::string const& text : LongTexts())
            AppendElement(made, "\t", "Comment", text);
    });
    return document;
}

std::vector<std::uint64_t> const& MixedNumbers() {
    static std::vector<std::uint64_t> const values = [] {
        Numbers numbers(10);
        std::vector<std::uint64_t> made;
        while (made.size() < 10000) {
            std::size_t const unused = numbers.Between(0, 63);
            made.push_back(numbers.Next() >> unused);
        }
        return made;
    }();
    return values;
}

std::string const& UnicodeText(Script script) {
    return Kept(script, [&] {
        Numbers numbers(8 + static_cast<std::uint64_t>(script));
        std::string text;
        for (;;) {
            std::string character;
            AppendUTF8(character, NextCharacter(numbers, script));
            if (text.size() + character.size() > textSize)
                return text;
            text += character;
        }
    });
}

} // namespace Inputs
