// SPDX-License-Identifier: MIT
#include "Arguments.h"

#include "CommandErrors.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace quelm::cli {

namespace {

bool isOption(std::string_view argument)
{
    return argument.size() > 1 && argument.front() == '-';
}

std::string quoted(std::string_view text)
{
    return "\"" + std::string(text) + "\"";
}

}

Arguments::Arguments(std::span<const std::string> arguments, std::initializer_list<OptionSpec> options, std::size_t maximumOperands)
{
    bool optionsEnded = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (optionsEnded || !isOption(argument)) {
            m_operands.push_back(argument);
            continue;
        }
        if (argument == "--") {
            optionsEnded = true;
            continue;
        }
        const auto equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        const auto declared = std::find_if(options.begin(), options.end(), [&](const OptionSpec& o) { return o.name == name; });
        if (declared == options.end())
            throw UsageError("unknown option " + quoted(name));
        if (!declared->takesValue) {
            if (equals != std::string::npos)
                throw UsageError("option " + name + " takes no value");
            m_options.emplace_back(name, std::string());
            continue;
        }
        if (equals != std::string::npos) {
            m_options.emplace_back(name, argument.substr(equals + 1));
        } else {
            if (i + 1 >= arguments.size())
                throw UsageError("option " + name + " needs a value");
            m_options.emplace_back(name, arguments[++i]);
        }
    }
    if (m_operands.size() > maximumOperands)
        throw UsageError("unexpected argument " + quoted(m_operands[maximumOperands]));
}

bool Arguments::has(std::string_view option) const
{
    return std::any_of(m_options.begin(), m_options.end(), [&](const auto& o) { return o.first == option; });
}

std::optional<std::string> Arguments::value(std::string_view option) const
{
    const auto found = std::find_if(m_options.rbegin(), m_options.rend(), [&](const auto& o) { return o.first == option; });
    if (found == m_options.rend())
        return std::nullopt;
    return found->second;
}

std::vector<std::string> Arguments::values(std::string_view option) const
{
    std::vector<std::string> found;
    for (const auto& [name, value] : m_options) {
        if (name == option)
            found.push_back(value);
    }
    return found;
}

bool asksForHelp(std::span<const std::string> arguments)
{
    for (const std::string& argument : arguments) {
        if (argument == "--")
            return false;
        if (argument == "--help" || argument == "-h")
            return true;
    }
    return false;
}

std::optional<std::string> takeGlobalOption(std::vector<std::string>& arguments, std::string_view name)
{
    const std::string withEquals = std::string(name) + "=";
    std::optional<std::string> value;
    std::vector<std::string> rest;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--") {
            rest.insert(rest.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i), arguments.end());
            break;
        }
        if (argument == name) {
            if (i + 1 >= arguments.size())
                throw UsageError("option " + std::string(name) + " needs a value");
            value = arguments[++i];
        } else if (argument.starts_with(withEquals)) {
            value = argument.substr(withEquals.size());
        } else {
            rest.push_back(argument);
            continue;
        }
        if (value->empty())
            throw UsageError("option " + std::string(name) + " needs a value");
    }
    arguments = std::move(rest);
    return value;
}

double parseNumber(std::string_view option, std::string_view text)
{
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
        throw UsageError("option " + std::string(option) + " needs a number, not " + quoted(text));
    return value;
}

std::vector<double> parseNumberList(std::string_view option, std::string_view text, std::size_t count)
{
    std::vector<double> numbers;
    std::size_t start = 0;
    while (true) {
        const auto comma = text.find(',', start);
        numbers.push_back(parseNumber(option, text.substr(start, comma - start)));
        if (comma == std::string_view::npos)
            break;
        start = comma + 1;
    }
    if (numbers.size() != count)
        throw UsageError("option " + std::string(option) + " needs " + std::to_string(count) + " numbers separated by commas");
    return numbers;
}

}
