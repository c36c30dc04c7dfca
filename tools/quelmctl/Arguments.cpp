#include "Arguments.h"

#include "Command.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace quelmctl {

namespace {

bool isOption(std::string_view argument)
{
    return argument.size() > 1 && argument.front() == '-';
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
            throw UsageError("unknown option " + name);
        if (!declared->takesValue) {
            if (equals != std::string::npos)
                throw UsageError("option " + name + " takes no value");
            m_options[name];
            continue;
        }
        if (equals != std::string::npos) {
            m_options[name] = argument.substr(equals + 1);
        } else {
            if (i + 1 >= arguments.size())
                throw UsageError("option " + name + " needs a value");
            m_options[name] = arguments[++i];
        }
    }
    if (m_operands.size() > maximumOperands)
        throw UsageError("unexpected argument " + m_operands[maximumOperands]);
}

std::optional<std::string> Arguments::value(std::string_view option) const
{
    const auto found = m_options.find(std::string(option));
    if (found == m_options.end())
        return std::nullopt;
    return found->second;
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

std::optional<std::string> takeRootOption(std::vector<std::string>& arguments)
{
    std::optional<std::string> root;
    std::vector<std::string> rest;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--") {
            rest.insert(rest.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i), arguments.end());
            break;
        }
        if (argument == "--root") {
            if (i + 1 >= arguments.size())
                throw UsageError("option --root needs a directory");
            root = arguments[++i];
        } else if (argument.starts_with("--root=")) {
            root = argument.substr(7);
        } else {
            rest.push_back(argument);
            continue;
        }
        if (root->empty())
            throw UsageError("option --root needs a directory");
    }
    arguments = std::move(rest);
    return root;
}

double parseNumber(std::string_view option, std::string_view text)
{
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
        throw UsageError("option " + std::string(option) + " needs a number, not \"" + std::string(text) + "\"");
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
