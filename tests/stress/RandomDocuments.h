// Random readable responses with their content, and random bytes that are not a response.
#pragma once

#include "tests/stress/ExchangeModel.h"
#include "tests/stress/Random.h"

// A text as written, and as read.
struct RandomText {
    std::string written;
    std::string read;
};

struct Number {
    Number(char const* text, int value) : written(text), read(value) {}

    char const* written;
    int read;
};

inline Number AnyNumber(Random& random) {
    return random.Pick({Number("1", 1), Number("2", 2), Number("3", 3), Number("0", 0),
                        Number("4", 4), Number("-1", -1), Number("-22", -22), Number("3abc", 3),
                        Number(" 2", 2), Number("+3", 3), Number("", 0), Number("x", 0),
                        Number("0x1", 0), Number("007", 7), Number("2147483647", 2147483647),
                        Number("-2147483648", -2147483647 - 1)});
}

// Mostly valid values, sometimes values that the tool does not know.
inline Number AnyState(Random& random) {
    if (random.Chance(8))
        return AnyNumber(random);
    return random.Pick<Number>({{"3", 3}, {"3", 3}, {"3", 3}, {"1", 1}, {"1", 1}, {"2", 2}});
}

inline RandomText AnyText(Random& random) {
    RandomText text;
    for (auto left = random.Below(4); left != 0; --left) {
        static constexpr char const* pieces[][2] = {
            {"plain", "plain"},   {" ", " "},       {"&amp;", "&"},     {"&lt;", "<"},
            {"&gt;", ">"},        {"&quot;", "\""}, {"&#xe9;", "\xe9"}, {"\xc3\xa9", "\xc3\xa9"},
            {"&apos;", "&apos;"}, {"\r\n", "\r\n"}, {"100%", "100%"},   {"%s", "%s"}};
        auto const& piece = pieces[random.Below(std::size(pieces))];
        text.written += piece[0];
        text.read += piece[1];
    }
    if (random.Below(200) == 0) {
        // More than the parser reads at once.
        text.written.append(70'000, 'x');
        text.read.append(70'000, 'x');
    }
    return text;
}

inline std::string AnyRow(Random& random, RowTexts& row) {
    static constexpr char const* names[] = {"Designator",     "Result",      "ResultType",
                                            "EvaluationTime", "Description", "Comment"};
    std::vector<std::string> children;
    for (size_t i = 0; i < row.size(); ++i) {
        if (random.Chance(5))
            continue;
        RandomText const text = AnyText(random);
        children.push_back(Element(names[i], text.written));
        row[i] = text.read;
    }
    if (random.Chance(10))
        children.push_back(Element("Other", "text"));
    if (random.Chance(10))
        random.Shuffle(children);
    std::string content = random.Chance(50) ? "\r\n\t\t" : "";
    for (std::string const& child : children)
        content += child;
    return Element("ResponseItem", content);
}

inline std::string AnyType(Random& random) {
    return Element("ResponseType", random.Pick({"Open", "Close", "Progress"}));
}

// The children of the root that count, in order.
class RandomChildren {
public:
    RandomChildren(Random& choices, ExchangeModel::Content& meaning)
        : random(choices), says(meaning) {
        AddProgress();
        for (unsigned long long rows = random.Chance(60) ? 0 : random.Below(5); rows != 0; --rows) {
            says.rows.emplace_back();
            children.push_back(AnyRow(random, says.rows.back()));
        }
        AddNoise();
    }

    std::string Join() const {
        std::string text;
        for (std::string const& child : children)
            text += "\t" + child + "\r\n";
        return text;
    }

private:
    void AddProgress() {
        for (unsigned long long times = random.Chance(90) ? 1 : random.Below(3); times != 0;
             --times)
            Add("ResponseProgressState", AnyState(random), says.state);
        if (random.Chance(70))
            Add("ResponseProgressError", AnyNumber(random), says.error);
        if (random.Chance(70))
            Add("ResponseProgressPercent", AnyNumber(random), says.percent);
    }

    void Add(char const* name, Number number, int& value) {
        children.push_back(Element(name, number.written));
        value = number.read;
    }

    // In any place: the type, which must occur once, and elements without a meaning.
    void AddNoise() {
        Insert(AnyType(random), random.Chance(80));
        if (random.Chance(15))
            Insert(random.Pick<std::string>(
                       {Element("ResponseType", "open"), Element("ResponseType", ""),
                        Element("Other", Element("ResponseProgressState", "1")), "<!-- a note -->",
                        "text", AnyType(random)}),
                   false);
    }

    void Insert(std::string const& child, bool first) {
        auto const place = first ? 0 : random.Below(children.size() + 1);
        children.insert(children.begin() + static_cast<std::ptrdiff_t>(place), child);
    }

    Random& random;
    ExchangeModel::Content& says;
    std::vector<std::string> children;
};

struct RandomResponse {
    std::string bytes;
    ExchangeModel::Content says;
};

// The children are in any order, repeated or missing, among others without a meaning. Texts and
// numbers are hard to parse.
inline RandomResponse MakeRandomResponse(Random& random) {
    RandomResponse response;
    response.bytes = Response(RandomChildren(random, response.says).Join());
    if (random.Chance(5))
        response.bytes += "\r\n";
    return response;
}

// Returns bytes that are not a response: a part of a response, or other bytes.
inline std::string MakeGarbage(Random& random) {
    if (random.Chance(60)) {
        // No part of a document is a document: its last byte closes the root.
        RandomResponse const response = MakeRandomResponse(random);
        size_t const end = response.bytes.rfind('>');
        return response.bytes.substr(0, random.Below(end + 1));
    }
    if (random.Chance(30)) {
        std::string noise(random.Below(5000), ' ');
        for (char& byte : noise)
            byte = static_cast<char>(random.Below(256));
        // Without a tag there is no element.
        for (char& byte : noise)
            byte = byte == '<' ? '>' : byte;
        return noise;
    }
    return random.Pick<std::string>({"", "garbage", Response(""), progressRequest, closeRequest,
                                     Response("<ResponseProgressState>1</ResponseProgressState>"),
                                     Response("<ResponseType>open</ResponseType>"),
                                     Response("<ResponseType> Open</ResponseType>"),
                                     Response("<x/><ResponseType>Open</ResponseType>"),
                                     "<Other><ResponseType>Open</ResponseType></Other>",
                                     std::string(1000, '\0')});
}
