#pragma once

#include <initializer_list>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quelmctl {

struct OptionSpec {
    std::string_view name; // with its dashes: "--json"
    bool takesValue = false;
};

// A command's own arguments, checked against the options it knows. Accepts "--name value" and
// "--name=value"; "--" ends the options; "-" is an operand (standard input). Throws UsageError
// for an unknown option, a missing value, or more operands than `maximumOperands`.
class Arguments {
public:
    Arguments(std::span<const std::string> arguments, std::initializer_list<OptionSpec> options, std::size_t maximumOperands);

    bool has(std::string_view option) const { return m_options.contains(std::string(option)); }
    // The value of the option's last occurrence.
    std::optional<std::string> value(std::string_view option) const;
    const std::vector<std::string>& operands() const { return m_operands; }

private:
    std::map<std::string, std::string> m_options;
    std::vector<std::string> m_operands;
};

// True when the arguments ask for help ("--help" or "-h" before any "--").
bool asksForHelp(std::span<const std::string> arguments);

// Takes the global "--root DIR" (or "--root=DIR") out of the arguments, wherever it stands before
// a "--". Throws UsageError when its value is missing or empty.
std::optional<std::string> takeRootOption(std::vector<std::string>& arguments);

// Number parsing for option values; throws UsageError naming the option.
double parseNumber(std::string_view option, std::string_view text);
std::vector<double> parseNumberList(std::string_view option, std::string_view text, std::size_t count);

}
