#pragma once

#include "Widget/WidgetFamily.h"
#include "Widget/WidgetSortOrder.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace quelm::app {

// Walks a subcommand's arguments: "--name VALUE", "--name=VALUE" and bare "--flag". Throws
// UsageError for an option missing its value.
class OptionReader {
public:
    explicit OptionReader(std::span<const std::string> arguments)
        : m_arguments(arguments)
    {
    }

    bool atEnd() const { return m_index >= m_arguments.size(); }
    // The next argument, consumed.
    std::string_view next();
    // Whether the next argument is the option `name`, in either form; consumes it if so.
    bool takeOption(std::string_view name, std::string& value);
    bool takeFlag(std::string_view name);

private:
    std::span<const std::string> m_arguments;
    std::size_t m_index = 0;
};

// "small", "medium", "large", "extraLarge" and the host's "small"… names; anything else
// throws UsageError naming the accepted values.
WidgetFamily parseFamilyArgument(std::string_view);
// "category" or "recent"; anything else throws UsageError naming them.
WidgetSortOrder parseSortArgument(std::string_view);

// The family option was not given.
[[noreturn]] void throwMissingFamily();
// An argument no option of the subcommand accepts.
[[noreturn]] void throwUnexpected(std::string_view argument);

}
