// Reference implementation of the parser, which processes one byte at a time. Shares no code with
// the parser. For each state, it specifies the effect of a byte, of leaving the state and of
// entering the next one.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

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
            TakeText(byte);
            break;
        case State::TextEscape:
            TakeEscape(byte, State::Text);
            break;
        case State::StartName:
            TakeStartName(byte);
            break;
        case State::EndName:
            byte == '>' ? Go(State::Text) : name.push_back(byte);
            break;
        case State::Between:
            TakeBetween(byte);
            break;
        case State::AttributeName:
            byte == '=' ? Go(State::BeforeValue) : pool[index].first.push_back(byte);
            break;
        case State::BeforeValue:
            if (byte == '"' || byte == '\'') {
                quote = byte;
                Go(State::Value);
            }
            break;
        case State::Value:
            TakeValue(byte);
            break;
        case State::ValueEscape:
            TakeEscape(byte, State::Value);
            break;
        case State::Comment:
            TakeComment(byte);
            break;
        case State::Section:
            TakeSection(byte);
            break;
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
        if (byte == ';')
            Go(outer);
        else
            escape.push_back(byte);
    }

    void TakeStartName(char byte) {
        if (byte == ' ' && name.empty())
            return;
        if (byte == ' ') {
            Go(State::Between);
        } else if (byte == '/') {
            Go(State::EndName);
        } else if (byte == '>') {
            Go(State::Text);
        } else if (byte == '-') {
            dashes = dashes + 1;
            if (dashes >= 2)
                Go(State::Comment);
        } else {
            name.push_back(byte);
            if (name == "![CDATA[") {
                name.clear();
                previous = 0;
                earlier = 0;
                Go(State::Section);
            }
        }
    }

    void TakeBetween(char byte) {
        if (byte == ' ' || byte == '?')
            return;
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
        if (byte == '-')
            dashes = dashes + 1;
        else if (byte == '>' && dashes >= 2)
            Go(State::Text);
        else
            dashes = 0;
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
        if (state == State::TextEscape) {
            escape.push_back(';');
            handler.Characters(Decode());
        }
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
        if (state == State::ValueEscape) {
            escape.push_back(';');
            pool.at(index).second += Decode();
        }
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
        if (escape == "&lt;")
            return "<";
        if (escape == "&gt;")
            return ">";
        if (escape == "&amp;")
            return "&";
        if (escape == "&quot;")
            return "\"";
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
