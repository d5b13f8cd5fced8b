// The arguments of a program, taken apart into options, their values and operands, but not yet
// understood: what a value means is its reader's business.
#pragma once

#include <map>
#include <span>
#include <string>
#include <vector>

struct OptionRule {
    // "--timeout", or "-h,--help".
    char const* names;
    // The values in words ("a number from 1 to 9"); null for an option that takes none.
    char const* accepted = nullptr;
};

// Options may stand before, between and behind the operands, as "--name VALUE" or "--name=VALUE";
// behind "--" all are operands. An option may be repeated.
class Arguments {
public:
    // The operands have the names that a message gives them. Throws CommandLineError at an option
    // that has no rule, a missing or unwanted value, and an operand too many; how many have to be
    // there is for the caller to say.
    Arguments(std::span<OptionRule const> rules, std::span<char const* const> operandNames,
              int count, char const* const* arguments);

    // An option is named by its last name.
    bool Has(std::string const& option) const { return values.contains(option); }
    // In the order of the command line; none if the option is not there.
    std::vector<std::string> const& Values(std::string const& option) const;
    std::vector<std::string> const& Operands() const { return operands; }

private:
    std::map<std::string, std::vector<std::string>> values;
    std::vector<std::string> operands;
};
