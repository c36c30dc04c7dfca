#include "App/Options.h"

#include "App/Command.h"

#include <string>

namespace quelm::app {

namespace {
constexpr std::string_view acceptedFamilies
    = "small, medium, large, extraLarge (or small, medium, large, extraLarge)";
constexpr std::string_view acceptedSortOrders = "category, recent";
}

std::string_view OptionReader::next()
{
    return m_arguments[m_index++];
}

bool OptionReader::takeOption(std::string_view name, std::string& value)
{
    if (atEnd())
        return false;
    const std::string_view argument = m_arguments[m_index];
    if (argument == name) {
        if (m_index + 1 >= m_arguments.size())
            throw UsageError("option " + std::string(name) + " needs a value");
        value = m_arguments[m_index + 1];
        m_index += 2;
        return true;
    }
    if (argument.size() > name.size() && argument.substr(0, name.size()) == name && argument[name.size()] == '=') {
        value = argument.substr(name.size() + 1);
        ++m_index;
        return true;
    }
    return false;
}

bool OptionReader::takeFlag(std::string_view name)
{
    if (atEnd() || m_arguments[m_index] != name)
        return false;
    ++m_index;
    return true;
}

WidgetFamily parseFamilyArgument(std::string_view text)
{
    if (const auto family = parseWidgetFamily(text))
        return *family;
    throw UsageError("unknown family \"" + std::string(text) + "\"; accepted: " + std::string(acceptedFamilies));
}

WidgetSortOrder parseSortArgument(std::string_view text)
{
    if (const auto order = fromRawValue<WidgetSortOrder>(text))
        return *order;
    throw UsageError("unknown sort order \"" + std::string(text) + "\"; accepted: " + std::string(acceptedSortOrders));
}

void throwMissingFamily()
{
    throw UsageError("missing --family; accepted: " + std::string(acceptedFamilies));
}

void throwUnexpected(std::string_view argument)
{
    throw UsageError("unexpected argument \"" + std::string(argument) + "\"");
}

}
