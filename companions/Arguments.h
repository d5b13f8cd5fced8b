// Splits the command line of a program into options, their values, and operands.
#pragma once

#include <functional>
#include <map>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// An invalid command line. what() is a message without the program's name: the problem and usually
// the accepted values. It may contain arbitrary bytes of the command line. WriteMessage (Output.h)
// escapes them.
class CommandLineError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// An option that the program accepts.
struct OptionRule {
    // "--help", or "-d" for an option without a long name.
    char const* name;
    // Describes the values ("a number from 1 to 9"). Null: the option takes no value.
    char const* accepted = nullptr;
    // The short name, such as 'd'. NUL: the option has none.
    char letter = '\0';
};

// A parsed command line. Does not interpret values.
//
// Syntax: options can precede and follow operands, as "--name VALUE", "--name=VALUE", "-n VALUE" or
// "-nVALUE". Short names can be combined ("-qh"). All arguments after "--" are operands. An option
// can be repeated. Abbreviated names are errors, and so is a long name with a single dash.
//
// Not thread-safe, because getopt_long(3) is not.
class Arguments {
public:
    // Parses the arguments of main; the first one is the program's name and is skipped. Accepts at
    // most as many operands as there are names, or any number if the last name ends with "...".
    // The message for an excess operand contains the names.
    //
    // Throws CommandLineError for an unknown option, a missing or unexpected value, and an excess
    // operand. Does not check for missing operands.
    Arguments(std::span<OptionRule const> rules, std::span<char const* const> operandNames,
              int count, char const* const* arguments);

    // Returns whether the command line has the option with this name in its rule.
    bool Has(std::string_view option) const { return values.contains(option); }
    // Returns the values in the order of the command line: one for each occurrence of the option,
    // an empty string if it takes no value. Returns an empty list without the option.
    std::vector<std::string> const& Values(std::string_view option) const;
    std::vector<std::string> const& Operands() const { return operands; }

private:
    // Stores one argument. `code` is the return value of getopt_long(3).
    void Add(std::span<OptionRule const> rules, int code, std::string const& argument);

    std::map<std::string, std::vector<std::string>, std::less<>> values;
    std::vector<std::string> operands;
};
