// The arguments of a program as options, their values and operands. The caller interprets values.
#pragma once

#include <map>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

// An invalid command line. The text is one line, without the program's name: the argument, and what
// would be accepted. It may hold bytes of the command line, so it is shown as visible text
// (VisibleText.h).
class CommandLineError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct OptionRule {
    // "--help", or "-d" for an option that has a letter only.
    char const* name;
    // The values in words ("a number from 1 to 9"); null for an option that takes none.
    char const* accepted = nullptr;
    char letter = '\0';
};

// Options may come before, between and after the operands, as "--name VALUE" or "--name=VALUE"; all
// arguments after "--" are operands. An option may be repeated. Names are not abbreviated, and the
// name of a long option with one dash is refused. Not thread-safe, because getopt_long(3) is not.
class Arguments {
public:
    // Messages use the names of the operands. If the last name ends with "...", there may be more.
    // Throws CommandLineError for an option that has no
    // rule, a missing or unwanted value, and a surplus operand. The caller checks that no operand
    // is missing.
    Arguments(std::span<OptionRule const> rules, std::span<char const* const> operandNames,
              int count, char const* const* arguments);

    // An option has the name of its rule.
    bool Has(std::string const& option) const { return values.contains(option); }
    // In the order of the command line; none if the option is not there.
    std::vector<std::string> const& Values(std::string const& option) const;
    std::vector<std::string> const& Operands() const { return operands; }

private:
    // Takes what getopt_long returned for an argument.
    void Add(std::span<OptionRule const> rules, int code, std::string const& argument);

    std::map<std::string, std::vector<std::string>> values;
    std::vector<std::string> operands;
};
