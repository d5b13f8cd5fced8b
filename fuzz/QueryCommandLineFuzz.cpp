// The command lines of compliance-query and compliance-doctor against their grammar.
#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "companions/Arguments.h"
#include "companions/DoctorCommandLine.h"
#include "companions/QueryCommandLine.h"
#include "fuzz/Arguments.h"
#include "fuzz/Fuzz.h"

namespace {

using Texts = std::vector<std::string>;

// A command line that is refused.
struct Refused {};

// What a line asks for, as texts; "refused" alone for one that is not understood.
using Outcome = Texts;

struct Grammar {
    std::vector<std::string> flags; // one of a single letter is an option of its own
    std::vector<std::string> options;
    std::size_t operands;
};

// Options and their values by name, and operands.
class PlainArguments {
public:
    PlainArguments(Grammar const& theGrammar, Texts const& arguments) : grammar(theGrammar) {
        for (std::size_t at = 1; at < arguments.size(); ++at) {
            std::string const& text = arguments[at];
            if (onlyOperands || !IsOption(text))
                operands.push_back(text);
            else if (text == "--")
                onlyOperands = true;
            else if (text.starts_with("--"))
                at += TakeLong(text, at + 1 < arguments.size() ? &arguments[at + 1] : nullptr);
            else
                TakeLetters(text);
        }
        if (operands.size() > grammar.operands)
            throw Refused();
    }

    bool Has(std::string const& name) const { return found.contains(name); }
    Texts Values(std::string const& name) const {
        auto const values = found.find(name);
        return values == found.end() ? Texts() : values->second;
    }

    Texts operands;

private:
    static bool IsOption(std::string const& text) { return text.size() > 1 && text[0] == '-'; }

    static bool IsIn(std::vector<std::string> const& names, std::string const& name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    }

    // Yields how many arguments behind it are its value.
    std::size_t TakeLong(std::string const& text, std::string const* next) {
        std::size_t const equals = text.find('=');
        std::string const name = text.substr(0, equals);
        bool const hasValue = equals != std::string::npos;
        if (IsIn(grammar.flags, name) && !hasValue) {
            found[name];
            return 0;
        }
        if (!IsIn(grammar.options, name) || (!hasValue && next == nullptr))
            throw Refused();
        found[name].push_back(hasValue ? text.substr(equals + 1) : *next);
        return hasValue ? 0 : 1;
    }

    void TakeLetters(std::string const& text) {
        for (char letter : text.substr(1)) {
            std::string const name = std::string("-") + letter;
            if (name == "-h")
                found["--help"];
            else if (IsIn(grammar.flags, name))
                found[name];
            else
                throw Refused();
        }
    }

    Grammar const& grammar;
    bool onlyOperands = false;
    std::map<std::string, Texts> found;
};

Texts SplitAtCommas(Texts const& lists) {
    Texts parts;
    for (std::string list : lists) {
        for (std::size_t comma; (comma = list.find(',')) != std::string::npos;) {
            parts.push_back(list.substr(0, comma));
            list.erase(0, comma + 1);
        }
        parts.push_back(list);
    }
    return parts;
}

unsigned int FlagsOf(Texts const& names) {
    std::map<std::string, unsigned int> const values = {
        {"gather", 1}, {"all", 2}, {"idle", 4}, {"hint", 8}};
    unsigned int flags = 0;
    for (std::string const& name : names) {
        if (!values.contains(name))
            throw Refused();
        flags |= values.at(name);
    }
    return flags;
}

// Digits of a number from 1 to 2147483647, and nothing else.
std::string TimeoutOf(Texts const& values) {
    if (values.empty())
        return "none";
    std::string digits = values.back();
    if (digits.find_first_not_of("0123456789") != std::string::npos)
        throw Refused();
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
    std::string const most = "2147483647";
    if (digits.empty() || digits.size() > most.size() ||
        (digits.size() == most.size() && digits > most))
        throw Refused();
    return digits;
}

std::string ProgressOf(Texts const& values) {
    std::string const style = values.empty() ? "auto" : values.back();
    if (style != "auto" && style != "bar" && style != "lines" && style != "none")
        throw Refused();
    return style;
}

std::string FormatOf(PlainArguments const& arguments) {
    std::string format;
    for (char const* const name : {"--table", "--tsv", "--json", "--ndjson"}) {
        if (arguments.Has(name) && !format.empty())
            throw Refused();
        if (arguments.Has(name))
            format = name;
    }
    return format.empty() ? "--table" : format;
}

Outcome QueryPlainly(Texts const& texts) {
    static Grammar const grammar = {
        {"--help", "--version", "--table", "--tsv", "--json", "--ndjson", "--quiet", "-d"},
        {"--flags", "--strict", "--timeout", "--progress"},
        2};
    PlainArguments const arguments(grammar, texts);
    if (arguments.Has("--help"))
        return {"help"};
    if (arguments.Has("--version"))
        return {"version"};
    Outcome line = {"evaluate",
                    FormatOf(arguments),
                    arguments.Has("--quiet") ? "quiet" : "",
                    std::to_string(FlagsOf(SplitAtCommas(arguments.Values("--flags")))),
                    TimeoutOf(arguments.Values("--timeout")),
                    ProgressOf(arguments.Values("--progress"))};
    Texts const accepted = arguments.Values("--strict");
    if (std::find(accepted.begin(), accepted.end(), "") != accepted.end())
        throw Refused();
    bool const usesDefault = arguments.Has("-d");
    if (arguments.operands.size() != (usesDefault ? 0 : 2))
        throw Refused();
    for (Texts const& more : {arguments.operands, SplitAtCommas(accepted)})
        line.insert(line.end(), more.begin(), more.end());
    return line;
}

Outcome DoctorPlainly(Texts const& texts) {
    static Grammar const grammar = {{"--help", "--version", "--json"}, {}, 0};
    PlainArguments const arguments(grammar, texts);
    char const* const action = arguments.Has("--help")      ? "help"
                               : arguments.Has("--version") ? "version"
                                                            : "diagnose";
    return {action, arguments.Has("--json") ? "json" : ""};
}

Outcome Query(Texts const& texts) {
    Fuzz::ArgumentVector const vector(texts);
    QueryCommandLine const line = ParseQueryCommandLine(vector.Count(), vector.Arguments());
    if (line.action != QueryCommandLine::evaluate)
        return {line.action == QueryCommandLine::showHelp ? "help" : "version"};
    char const* const formats[] = {"--table", "--tsv", "--json", "--ndjson"};
    char const* const styles[] = {"auto", "bar", "lines", "none"};
    Outcome all = {"evaluate",
                   formats[static_cast<int>(line.format)],
                   line.quiet ? "quiet" : "",
                   std::to_string(line.flags),
                   line.timeout ? std::to_string(line.timeout->count()) : "none",
                   styles[static_cast<int>(line.progress)]};
    for (auto const& operand : {line.url, line.document})
        if (operand)
            all.push_back(*operand);
    all.insert(all.end(), line.acceptedResults.begin(), line.acceptedResults.end());
    return all;
}

Outcome Doctor(Texts const& texts) {
    Fuzz::ArgumentVector const vector(texts);
    DoctorCommandLine const line = ParseDoctorCommandLine(vector.Count(), vector.Arguments());
    char const* const action = line.action == DoctorCommandLine::showHelp      ? "help"
                               : line.action == DoctorCommandLine::showVersion ? "version"
                                                                               : "diagnose";
    return {action, line.json ? "json" : ""};
}

template <class Read>
Outcome OutcomeOf(Read read, Texts const& texts) {
    try {
        return read(texts);
    } catch (Refused const&) {
        return {"refused"};
    } catch (CommandLineError const& error) {
        Fuzz::Require(*error.what() != '\0', "a refusal says why");
        return {"refused"};
    }
}

} // namespace

// Arguments, the program's name first; even that may be missing.
int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    Texts const arguments = Fuzz::TakeArguments(input, 9);
    Fuzz::Require(OutcomeOf(Query, arguments) == OutcomeOf(QueryPlainly, arguments),
                  "compliance-query does what its arguments say");
    Fuzz::Require(OutcomeOf(Doctor, arguments) == OutcomeOf(DoctorPlainly, arguments),
                  "compliance-doctor does what its arguments say");
    return 0;
}
