#include "demo/Scenario.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <sstream>
#include <utility>

namespace {

// An error without its line number.
struct Mistake {
    std::string reason;
};

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r'; }

int HexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// Splits a line into words. A word in double quotes may contain spaces and these escape sequences:
// \" \\ \n \r \t \xHH. Throws Mistake.
class WordSplitter {
public:
    explicit WordSplitter(std::string const& text) : line(text) {}

    std::vector<std::string> Split() {
        if (line.find('\0') != std::string::npos)
            throw Mistake{"a NUL byte"};
        std::vector<std::string> words;
        for (SkipSpaces(); position < line.size(); SkipSpaces()) {
            words.push_back(line[position] == '"' ? QuotedWord() : PlainWord());
            if (position < line.size() && !IsSpace(line[position]))
                throw Mistake{"a space is missing between two words"};
        }
        return words;
    }

private:
    void SkipSpaces() {
        while (position < line.size() && IsSpace(line[position]))
            ++position;
    }

    std::string PlainWord() {
        std::size_t const start = position;
        while (position < line.size() && !IsSpace(line[position])) {
            if (line[position] == '"')
                throw Mistake{"an unquoted word contains a quote"};
            ++position;
        }
        return line.substr(start, position - start);
    }

    std::string QuotedWord() {
        std::string word;
        ++position;
        while (Next() != '"')
            word += line[position - 1] == '\\' ? Escape() : line[position - 1];
        return word;
    }

    // Returns the byte at the position and advances the position.
    char Next() {
        if (position == line.size())
            throw Mistake{"the closing quote is missing"};
        return line[position++];
    }

    char Escape() {
        switch (Next()) {
        case '"':
            return '"';
        case '\\':
            return '\\';
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        case 'x':
            return HexEscape();
        default:
            throw Mistake{"unknown escape; expected \\\" \\\\ \\n \\r \\t \\xHH"};
        }
    }

    char HexEscape() {
        int const high = HexValue(Next());
        int const low = HexValue(Next());
        if (high < 0 || low < 0)
            throw Mistake{"\\x needs two hexadecimal digits"};
        if (high == 0 && low == 0)
            throw Mistake{"\\x00 is not accepted: texts end at a NUL byte"};
        return static_cast<char>(high * 16 + low);
    }

    std::string const& line;
    std::size_t position = 0;
};

template <typename Number>
Number ParseNumber(std::string const& word) {
    using Limits = std::numeric_limits<Number>;
    Number value{};
    auto const [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size())
        throw Mistake{"'" + word + "' is not a number from " + std::to_string(Limits::min()) +
                      " to " + std::to_string(Limits::max())};
    return value;
}

// Builds a scenario from its statements, in order.
class ScenarioBuilder {
public:
    void Statement(std::vector<std::string> const& words) {
        std::string const& verb = words[0];
        if (verb == "delay")
            Delay(words);
        else if (verb == "row")
            Row(words);
        else if (verb == "open")
            SetHandling(scenario.open, openSeen, words);
        else if (verb == "close")
            SetHandling(scenario.close, closeSeen, words);
        else
            Progress(words);
        isFirst = false;
    }

    Scenario Finish() {
        if (scenario.progress.empty())
            throw Mistake{"no statement answers a Progress request"};
        if (rowsWaiting)
            throw Mistake{"no 'finish' follows the rows"};
        return std::move(scenario);
    }

private:
    static void ExpectWords(std::vector<std::string> const& words, std::size_t count) {
        std::size_t const wanted = count - 1;
        std::size_t const given = words.size() - 1;
        if (given != wanted)
            throw Mistake{"'" + words[0] + "' needs " + std::to_string(wanted) +
                          (wanted == 1 ? " value" : " values") + ", not " + std::to_string(given)};
    }

    void Delay(std::vector<std::string> const& words) {
        ExpectWords(words, 2);
        delay = ParseNumber<unsigned int>(words[1]);
        if (isFirst)
            scenario.open.delay = delay;
    }

    void Row(std::vector<std::string> const& words) {
        ExpectWords(words, 7);
        rows.Add(words[1].c_str(), words[2].c_str(), words[3].c_str(), words[4].c_str(),
                 words[5].c_str(), words[6].c_str());
        rowsWaiting = true;
    }

    void SetHandling(ScenarioStep& step, bool& seen, std::vector<std::string> const& words) const {
        ExpectWords(words, 2);
        if (seen)
            throw Mistake{"'" + words[0] + "' is repeated"};
        seen = true;
        step.delay = delay;
        if (words[1] != "answer" && !SetUnanswered(step, words[1]))
            throw Mistake{"'" + words[1] + "' is not answer, garbage, vanish or silence"};
    }

    void Progress(std::vector<std::string> const& words) {
        ScenarioStep step;
        step.delay = delay;
        if (words[0] == "progress" || words[0] == "error" || words[0] == "state") {
            ExpectWords(words, 2);
            SetNumber(step.response, words[0], ParseNumber<int>(words[1]));
        } else {
            if (words[0] == "finish")
                SetFinished(step.response);
            else if (!SetUnanswered(step, words[0]))
                throw Mistake{"unknown statement '" + words[0] + "'"};
            ExpectWords(words, 1);
        }
        scenario.progress.push_back(std::move(step));
    }

    static void SetNumber(ClientComplianceResponse& response, std::string const& what, int number) {
        if (what == "progress") {
            response.state = ClientComplianceStateInProgress;
            response.percent = number;
        } else if (what == "error") {
            response.state = ClientComplianceStateError;
            response.error = number;
        } else {
            response.state = number;
        }
    }

    void SetFinished(ClientComplianceResponse& response) {
        response = std::exchange(rows, ClientComplianceResponse(ClientComplianceProgress));
        response.state = ClientComplianceStateFinished;
        response.percent = 100;
        rowsWaiting = false;
    }

    static bool SetUnanswered(ScenarioStep& step, std::string const& word) {
        if (word == "garbage")
            step.kind = ScenarioStep::Garbage;
        else if (word == "vanish")
            step.kind = ScenarioStep::Vanish;
        else if (word == "silence")
            step.kind = ScenarioStep::Silence;
        else
            return false;
        return true;
    }

    Scenario scenario;
    ClientComplianceResponse rows{ClientComplianceProgress};
    bool rowsWaiting = false;
    bool openSeen = false;
    bool closeSeen = false;
    // True until the first statement.
    bool isFirst = true;
    unsigned int delay = 0;
};

} // namespace

Scenario ParseScenario(std::string const& text, std::string const& name) {
    ScenarioBuilder builder;
    std::istringstream lines(text);
    std::string line;
    unsigned long number = 0; // of the line
    try {
        while (std::getline(lines, line)) {
            ++number;
            std::vector<std::string> const words =
                line.starts_with('#') ? std::vector<std::string>() : WordSplitter(line).Split();
            if (!words.empty())
                builder.Statement(words);
        }
        return builder.Finish();
    } catch (Mistake const& mistake) { // GCOVR_EXCL_BR_LINE: others are of exhausted memory
        throw ScenarioError(name + ":" + std::to_string(std::max(number, 1UL)) + ": " +
                            mistake.reason);
    }
}
