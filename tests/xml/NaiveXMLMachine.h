// Reference implementation of the parser, which processes one byte at a time. Shares no code with
// the parser. For each state, it specifies the effect of a byte, of leaving the state and of
// entering the next one.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <string_view>

#include "xml/XMLHandler.h"

class NaiveXMLMachine {
public:
    explicit NaiveXMLMachine(XMLHandler& receiver) : handler(receiver) {}

    void Parse(std::string_view bytes) {
        for (char byte : bytes)
            Take(byte);
    }

private:
    enum class State {
        Text,
        TextEscape,
        StartName,
        EndName,
        Between,
        AttributeName,
        BeforeValue,
        Value,
        ValueEscape,
        Comment,
        Section
    };

    void Take(char byte) {
        current = byte;
        switch (state) {
        case State::Text:
            return TakeText(byte);
        case State::TextEscape:
            return TakeEscape(byte, State::Text);
        case State::StartName:
            return TakeStartName(byte);
        case State::EndName:
            return byte == '>' ? Go(State::Text) : name.push_back(byte);
        case State::Between:
            return TakeBetween(byte);
        case State::AttributeName:
            return byte == '=' ? Go(State::BeforeValue) : pool[index].first.push_back(byte);
        case State::BeforeValue:
            quote = byte;
            return byte == '"' || byte == '\'' ? Go(State::Value) : void();
        case State::Value:
            return TakeValue(byte);
        case State::ValueEscape:
            return TakeEscape(byte, State::Value);
        case State::Comment:
            return TakeComment(byte);
        case State::Section:
            return TakeSection(byte);
        }
    }

    void TakeText(char byte) {
        if (byte == '<')
            Go(State::StartName);
        else if (byte == '&')
            Go(State::TextEscape);
        else
            text.push_back(byte);
    }

    void TakeEscape(char byte, State outer) {
        escape.push_back(byte);
        if (byte == ';')
            Go(outer);
    }

    void TakeStartName(char byte) {
        if (byte == ' ') {
            if (!name.empty())
                Go(State::Between);
        } else if (byte == '/') {
            Go(State::EndName);
        } else if (byte == '>') {
            Go(State::Text);
        } else if (byte == '-') {
            if (++dashes >= 2)
                Go(State::Comment);
        } else {
            name.push_back(byte);
            if (name == "![CDATA[") {
                name.clear();
                previous = earlier = 0;
                Go(State::Section);
            }
        }
    }

    void TakeBetween(char byte) {
        if (byte != ' ' && byte != '?')
            Go(byte == '>' ? State::Text : State::AttributeName);
    }

    void TakeValue(char byte) {
        if (byte == quote)
            Go(State::Between);
        else if (byte == '&')
            Go(State::ValueEscape);
        else
            pool[index].second.push_back(byte);
    }

    void TakeComment(char byte) {
        if (byte == '>' && dashes >= 2)
            Go(State::Text);
        else
            dashes = byte == '-' ? dashes + 1 : 0;
    }

    void TakeSection(char byte) {
        if (byte == '>' && previous == ']' && earlier == ']') {
            Go(State::Text);
            return;
        }
        if (earlier != 0)
            text.push_back(earlier);
        earlier = previous;
        previous = byte;
    }

    void Go(State next) {
        Leave(next);
        Enter(next);
        state = next;
    }

    void Leave(State next) {
        if ((state == State::Text || state == State::Section) && !text.empty()) {
            handler.Characters(text);
            text.clear();
        }
        if (state == State::TextEscape)
            handler.Characters(Decode());
        if ((state == State::StartName || state == State::Between) && next == State::Text) {
            std::vector<XMLAttribute const*> list;
            for (std::size_t i = 0; i < count; ++i)
                list.push_back(&pool.at(i));
            if (!name.empty() && name[0] == '?')
                handler.DoProcessingInstructionElement(name, list);
            else
                handler.StartElement(name, list);
        }
        if (state == State::EndName && next == State::Text)
            handler.EndElement(name);
        if (state == State::Value && next != State::ValueEscape)
            count = count + 1;
        if (state == State::ValueEscape)
            pool.at(index).second += Decode();
    }

    void Enter(State next) {
        if (next == State::TextEscape || next == State::ValueEscape)
            escape = "&";
        if (next == State::StartName) {
            dashes = 0;
            name.clear();
            count = 0;
        }
        if (next == State::Between) {
            index = count;
            if (pool.size() == index)
                pool.push_back(XMLAttribute());
            pool.at(index) = XMLAttribute();
        }
        if (next == State::AttributeName)
            pool.at(index).first.push_back(current);
        if (next == State::Comment)
            dashes = 0;
    }

    std::string Decode() {
        static std::map<std::string, std::string> const names{
            {"&lt;", "<"}, {"&gt;", ">"}, {"&amp;", "&"}, {"&quot;", "\""}};
        if (names.contains(escape))
            return names.at(escape);
        if (escape.size() >= 3 && escape[1] == '#' && escape[2] == 'x') {
            std::int32_t const number = ReadHexadecimal(std::string_view(escape).substr(3));
            if (number <= 255)
                escape = std::string(1, static_cast<char>(number & 0xFF));
        }
        return escape;
    }

    // Returns the low 32 bits of the number at the start of a text: whitespace, a sign, a prefix,
    // and digits up to the first other byte. First, the number is limited to the range of signed
    // 64-bit integers.
    static std::int32_t ReadHexadecimal(std::string_view from) {
        std::size_t at = std::min(from.find_first_not_of(" \t\n\v\f\r"), from.size());
        bool const isNegative = at < from.size() && from[at] == '-';
        if (isNegative || (at < from.size() && from[at] == '+'))
            at = at + 1;
        if (from.substr(at, 2) == "0x" || from.substr(at, 2) == "0X")
            at = at + 2;
        __extension__ using Wide = unsigned __int128;
        Wide const most = (Wide{1} << 63) - (isNegative ? 0 : 1);
        Wide number = 0;
        for (; at < from.size() && DigitValue(from[at]) < 16; at = at + 1)
            number = std::min(number * 16 + DigitValue(from[at]), most);
        auto const low = static_cast<std::uint32_t>(number);
        return static_cast<std::int32_t>(isNegative ? 0 - low : low);
    }

    // 16 for a byte that is not a digit.
    static unsigned int DigitValue(char byte) {
        std::string_view constexpr digits = "0123456789abcdef0123456789ABCDEF";
        std::size_t const place = digits.find(byte);
        return place == std::string_view::npos ? 16 : static_cast<unsigned int>(place % 16);
    }

    XMLHandler& handler;
    State state = State::Text;
    char current = 0;
    char previous = 0;
    char earlier = 0;
    char quote = 0;
    std::string text;
    std::string escape;
    std::string name;
    std::vector<XMLAttribute> pool;
    std::size_t index = 0;
    std::size_t count = 0;
    long dashes = 0;
};
