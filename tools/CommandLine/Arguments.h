// SPDX-License-Identifier: MIT
#pragma once

#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quelm::cli {

struct OptionSpec {
    std::string_view name; // with its dashes: "--json", "-o"
    bool takesValue = false;
};

// A command's own arguments, checked against the options it knows. Accepts "--name value" and
// "--name=value"; "--" ends the options; "-" is an operand (standard input). Throws UsageError
// for an unknown option, a missing value, or more operands than `maximumOperands`.
class Arguments {
public:
    Arguments(std::span<const std::string> arguments, std::initializer_list<OptionSpec> options, std::size_t maximumOperands);

    bool has(std::string_view option) const;
    // The value of the option's last occurrence.
    std::optional<std::string> value(std::string_view option) const;
    // The values of every occurrence, in order, for an option that may repeat.
    std::vector<std::string> values(std::string_view option) const;
    const std::vector<std::string>& operands() const { return m_operands; }

private:
    std::vector<std::pair<std::string, std::string>> m_options; // in command-line order
    std::vector<std::string> m_operands;
};

// True when the arguments ask for help ("--help" or "-h" before any "--").
bool asksForHelp(std::span<const std::string> arguments);

// Takes an option that any command accepts ("--root DIR" or "--root=DIR") out of the arguments,
// wherever it stands before a "--". Throws UsageError when its value is missing or empty.
std::optional<std::string> takeGlobalOption(std::vector<std::string>& arguments, std::string_view name);

// Number parsing for option values; throws UsageError naming the option.
double parseNumber(std::string_view option, std::string_view text);
std::vector<double> parseNumberList(std::string_view option, std::string_view text, std::size_t count);

}
