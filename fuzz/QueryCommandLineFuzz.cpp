// Compares the parsers of the command lines of compliance-query and compliance-doctor with a
// reference implementation of their grammar.
#include <filesystem>
#include <set>
#include <system_error>

#include "companions/Arguments.h"
#include "companions/DoctorCommandLine.h"
#include "companions/QueryCommandLine.h"
#include "fuzz/Arguments.h"

namespace {

using Texts = std::vector<std::string>;

// Thrown for an invalid command line.
struct Refused {};

// The meaning of a command line as texts, or only "refused" for an invalid one.
using Outcome = Texts;

struct Grammar {
    std::set<std::string> flags; // Options without a value, such as "--json" and "-d".
    std::set<std::string> options;
    std::map<char, std::string> letters;
    std::size_t operands;
};

// Splits a command line into options, values and operands.
class ReferenceArguments {
public:
    ReferenceArguments(Grammar const& theGrammar, Texts const& arguments) : grammar(theGrammar) {
        for (std::size_t at = 1; at < arguments.size(); ++at) {
            std::string const& text = arguments[at];
            std::string const* const next =
                at + 1 < arguments.size() ? &arguments[at + 1] : nullptr;
            if (onlyOperands || text.size() < 2 || text[0] != '-')
                operands.push_back(text);
            else if (text == "--")
                onlyOperands = true;
            else
                at += text.starts_with("--") ? TakeLong(text, next) : TakeLetters(text, next);
        }
        if (operands.size() > grammar.operands)
            throw Refused();
    }

    bool Has(std::string const& name) const { return found.contains(name); }
    Texts Values(std::string const& name) const { return Has(name) ? found.at(name) : Texts(); }

    Texts operands;

private:
    // Each returns the number of following arguments that are the value of the option: 0 or 1.
    std::size_t TakeValue(std::string const& name, std::optional<std::string> const& attached,
                          std::string const* next) {
        if (!attached && next == nullptr)
            throw Refused();
        found[name].push_back(attached ? *attached : *next);
        return attached ? 0 : 1;
    }

    std::size_t TakeLong(std::string const& text, std::string const* next) {
        std::size_t const equals = text.find('=');
        std::string const name = text.substr(0, equals);
        if (grammar.options.contains(name))
            return TakeValue(name,
                             equals == std::string::npos ? std::optional<std::string>()
                                                         : text.substr(equals + 1),
                             next);
        if (!grammar.flags.contains(text))
            throw Refused();
        found[text];
        return 0;
    }

    std::size_t TakeLetters(std::string const& text, std::string const* next) {
        // A long name with a single dash is an error, even if all its letters are options.
        std::string const longName = "-" + text.substr(0, text.find('='));
        if (grammar.flags.contains(longName) || grammar.options.contains(longName))
            throw Refused();
        for (std::size_t at = 1; at < text.size(); ++at) {
            if (!grammar.letters.contains(text[at]))
                throw Refused();
            std::string const& name = grammar.letters.at(text[at]);
            std::string const rest = text.substr(at + 1);
            if (grammar.options.contains(name))
                return TakeValue(name, rest.empty() ? std::optional<std::string>() : rest, next);
            found[name];
        }
        return 0;
    }

    Grammar const& grammar;
    bool onlyOperands = false;
    std::map<std::string, Texts> found;
};

// Returns the entries of all lists. Empty entries, and repeated ones of a list, are errors.
Texts EntriesOf(Texts const& lists) {
    Texts entries;
    for (std::string list : lists) {
        std::set<std::string> found{""};
        list += ',';
        for (std::size_t comma; (comma = list.find(',')) != std::string::npos;) {
            entries.push_back(Fuzz::Trimmed(list.substr(0, comma), " \t"));
            if (!found.insert(entries.back()).second)
                throw Refused();
            list.erase(0, comma + 1);
        }
    }
    return entries;
}

// Returns the value of a decimal number of at most 10 digits, not counting leading zeros.
long long NumberOf(std::string digits) {
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos)
        throw Refused();
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
    if (digits.size() > 10)
        throw Refused();
    return std::stoll(digits);
}

long long FlagsOf(Texts const& lists) {
    std::map<std::string, long long> const values = {
        {"gather", 1}, {"all", 2}, {"idle", 4}, {"hint", 8}};
    long long flags = 0;
    for (std::string const& entry : EntriesOf(lists))
        flags |= values.contains(entry) ? values.at(entry) : NumberOf(entry);
    if (flags > 15)
        throw Refused();
    return flags;
}

// Returns the last duration as seconds, or "none". Valid durations have 1 to 2147483647 seconds.
std::string SecondsOf(Texts const& values) {
    std::string last = "none";
    std::map<char, long long> const units = {{'s', 1}, {'m', 60}, {'h', 3600}};
    for (std::string text : values) {
        long long unit = 1;
        if (!text.empty() && units.contains(text.back())) {
            unit = units.at(text.back());
            text.pop_back();
        }
        long long const seconds = NumberOf(text) * unit;
        if (seconds < 1 || seconds > 2147483647)
            throw Refused();
        last = std::to_string(seconds);
    }
    return last;
}

// Returns the last value, or by default the first word. Each value must be one of the words.
std::string WordOf(Texts const& values, Texts const& words) {
    for (std::string const& value : values)
        if (std::find(words.begin(), words.end(), value) == words.end())
            throw Refused();
    return values.empty() ? words.front() : values.back();
}

// Returns the results of all lists without duplicates, each prefixed with the mark.
Texts ResultsOf(std::string const& mark, Texts const& lists) {
    Texts results;
    for (std::string const& entry : EntriesOf(lists))
        if (std::find(results.begin(), results.end(), mark + entry) == results.end())
            results.push_back(mark + entry);
    return results;
}

std::string FieldOf(std::string const& name) {
    Texts const names = {"designator",     "result",      "resultType",
                         "evaluationTime", "description", "comment"};
    return std::to_string(std::find(names.begin(), names.end(), WordOf({name}, names)) -
                          names.begin());
}

std::string FormatOf(ReferenceArguments const& arguments) {
    Texts found;
    for (char const* const name : {"--table", "--tsv", "--json", "--ndjson"})
        if (arguments.Has(name))
            found.push_back(name);
    if (found.size() > 1)
        throw Refused();
    return found.empty() ? "--table" : found.front();
}

// Returns the columns as digits, the sort field and the colour mode.
Outcome TableOf(ReferenceArguments const& arguments) {
    for (char const* const name : {"--columns", "--sort", "--only", "--color"})
        if (arguments.Has(name) && FormatOf(arguments) != "--table")
            throw Refused();
    std::string fields;
    for (std::string const& entry : EntriesOf(arguments.Values("--columns"))) {
        if (fields.find(FieldOf(entry)) != std::string::npos)
            throw Refused();
        fields += FieldOf(entry);
    }
    std::string sort = "unsorted";
    for (std::string const& name : arguments.Values("--sort"))
        sort = FieldOf(name);
    return {arguments.Has("--columns") ? fields : "012345", sort,
            WordOf(arguments.Values("--color"), {"auto", "always", "never"})};
}

// True if the path is a regular file, or if one could be created there.
bool CanBeFile(std::filesystem::path const& path) {
    // The name of the temporary file is 7 bytes longer.
    if (path.filename().native().size() > 248)
        return false;
    std::error_code error;
    std::filesystem::file_status const status = std::filesystem::status(path, error);
    if (std::filesystem::exists(status) || path.empty())
        return std::filesystem::is_regular_file(status);
    if (error == std::errc::filename_too_long || std::filesystem::is_symlink(path, error))
        return false;
    std::filesystem::path const parent = path.parent_path();
    return path.has_filename() &&
           std::filesystem::is_directory(parent.empty() ? "." : parent, error);
}

std::string OutputOf(ReferenceArguments const& arguments) {
    Texts const files = arguments.Values("--output");
    Texts const metrics = arguments.Values("--prometheus");
    std::string const format = FormatOf(arguments);
    bool const keeps = arguments.Has("--keep-failures");
    if (!std::all_of(files.begin(), files.end(), CanBeFile) ||
        !std::all_of(metrics.begin(), metrics.end(), CanBeFile) ||
        (keeps && (files.empty() || (format != "--json" && format != "--ndjson"))))
        throw Refused();
    return (keeps ? "keep " : "") + (files.empty() ? "none" : "file " + files.back()) +
           (metrics.empty() ? "" : " metrics " + metrics.back());
}

// Returns the meaning of all options except those that select an action.
Outcome OptionsOf(ReferenceArguments const& arguments) {
    if (arguments.Has("--allow-empty") && !arguments.Has("--strict"))
        throw Refused();
    Outcome line = {"evaluate", FormatOf(arguments)};
    for (char const* const flag : {"--quiet", "--allow-stale", "--allow-empty"})
        line.push_back(arguments.Has(flag) ? flag : "");
    line.push_back(std::to_string(FlagsOf(arguments.Values("--flags"))));
    for (char const* const time : {"--timeout", "--wait"})
        line.push_back(SecondsOf(arguments.Values(time)));
    line.push_back(OutputOf(arguments));
    line.push_back(WordOf(arguments.Values("--progress"), {"auto", "bar", "lines", "none"}));
    for (Texts const& more :
         {TableOf(arguments), ResultsOf("only ", arguments.Values("--only")), arguments.operands,
          ResultsOf("strict ", arguments.Values("--strict"))})
        line.insert(line.end(), more.begin(), more.end());
    return line;
}

// Throws if the command line describes a request although its action sends none.
void RefuseRequest(ReferenceArguments const& arguments, std::string const& action) {
    bool const hasOther = action == "--explain" && arguments.Has("--check-config");
    if (arguments.Has("-d") || arguments.Has("--config") || hasOther ||
        !arguments.operands.empty() || arguments.Values(action).size() > 1)
        throw Refused();
}

Outcome CheckOf(Texts const& names) {
    for (std::string const& name : names)
        if (name.empty() || name.size() > 100 || name.starts_with('.') ||
            name.find('/') != std::string::npos)
            throw Refused();
    return {"check", names.back()};
}

// --config is always an error, because there is no configuration file.
Outcome ReferenceQuery(Texts const& texts) {
    static Grammar const grammar = {
        {"--help", "--version", "--table", "--tsv", "--json", "--ndjson", "--quiet", "-d",
         "--keep-failures", "--allow-empty", "--allow-stale"},
        {"--flags", "--strict", "--timeout", "--progress", "--explain", "--columns", "--sort",
         "--only", "--color", "--output", "--wait", "--config", "--check-config", "--prometheus"},
        {{'h', "--help"}, {'V', "--version"}, {'q', "--quiet"}, {'d', "-d"}, {'o', "--output"}},
        2};
    ReferenceArguments const arguments(grammar, texts);
    if (arguments.Has("--help"))
        return {"help"};
    if (arguments.Has("--version"))
        return {"version"};
    Outcome const options = OptionsOf(arguments);
    if (arguments.Has("--explain")) {
        RefuseRequest(arguments, "--explain");
        return {"explain",
                WordOf(arguments.Values("--explain"), {"0", "1", "2", "3", "4", "5", "6", "7", "8",
                                                       "9", "10", "11", "129", "130", "143"})};
    }
    if (arguments.Has("--check-config")) {
        RefuseRequest(arguments, "--check-config");
        return CheckOf(arguments.Values("--check-config"));
    }
    if (arguments.Has("--config") || arguments.operands.size() != (arguments.Has("-d") ? 0 : 2))
        throw Refused();
    return options;
}

Outcome ReferenceDoctor(Texts const& texts) {
    static Grammar const grammar = {{"--help", "--version", "--json"}, {}, {{'h', "--help"}}, 0};
    ReferenceArguments const arguments(grammar, texts);
    char const* const action = arguments.Has("--help")      ? "help"
                               : arguments.Has("--version") ? "version"
                                                            : "diagnose";
    return {action, arguments.Has("--json") ? "json" : ""};
}

std::string Describe(std::optional<std::chrono::seconds> const& time) {
    return time ? std::to_string(time->count()) : "none";
}

void Append(Outcome& all, std::string const& mark, Texts const& texts) {
    for (std::string const& text : texts)
        all.push_back(mark + text);
}

Outcome DescribeEvaluation(QueryCommandLine const& line) {
    char const* const formats[] = {"--table", "--tsv", "--json", "--ndjson"};
    char const* const styles[] = {"auto", "bar", "lines", "none"};
    char const* const colors[] = {"auto", "always", "never"};
    Outcome all = {"evaluate",
                   formats[static_cast<int>(line.format)],
                   line.quiet ? "--quiet" : "",
                   line.allowStale ? "--allow-stale" : "",
                   line.allowEmpty ? "--allow-empty" : "",
                   std::to_string(line.flags),
                   Describe(line.timeout),
                   Describe(line.wait),
                   (line.keepFailures ? "keep " : "") +
                       (line.outputFile ? "file " + *line.outputFile : "none") +
                       (line.metricsFile ? " metrics " + *line.metricsFile : ""),
                   styles[static_cast<int>(line.progress)]};
    std::string fields;
    for (std::size_t const field : line.table.columns)
        fields += std::to_string(field);
    all.push_back(fields);
    all.push_back(line.table.sortField ? std::to_string(*line.table.sortField) : "unsorted");
    all.push_back(colors[static_cast<int>(line.table.color)]);
    Append(all, "only ", line.table.shownResults);
    for (auto const& operand : {line.url, line.document})
        if (operand)
            all.push_back(*operand);
    Append(all, "strict ", line.acceptedResults);
    return all;
}

Outcome Query(Texts const& texts) {
    Fuzz::ArgumentVector const vector(texts);
    QueryCommandLine const line = ParseQueryCommandLine(vector.Count(), vector.Arguments());
    if (line.action == QueryCommandLine::explain)
        return {"explain", line.status};
    if (line.action == QueryCommandLine::checkConfig)
        return {"check", line.config};
    return line.action == QueryCommandLine::showHelp      ? Outcome{"help"}
           : line.action == QueryCommandLine::showVersion ? Outcome{"version"}
                                                          : DescribeEvaluation(line);
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
        Require(*error.what() != '\0', "a refusal has a reason");
        return {"refused"};
    }
}

} // namespace

// Input: the arguments, including the program's name. There may be none.
int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    Texts const arguments = Fuzz::TakeArguments(input, 9);
    Require(OutcomeOf(Query, arguments) == OutcomeOf(ReferenceQuery, arguments),
            "the parser of compliance-query agrees with the reference");
    Require(OutcomeOf(Doctor, arguments) == OutcomeOf(ReferenceDoctor, arguments),
            "the parser of compliance-doctor agrees with the reference");
    return 0;
}
