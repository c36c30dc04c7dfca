// SPDX-License-Identifier: MIT
#include "Text/LocalizedText.h"

#include <cstddef>

namespace quelm {

namespace {

constexpr std::string_view lengthAndConversion = "lld";

std::string writeNumber(long long value, const LocalizedText::FormatNumber& formatNumber)
{
    return formatNumber ? formatNumber(value) : std::to_string(value);
}

}

std::string LocalizedText::format(std::string_view translated, const FormatNumber& formatNumber) const
{
    std::string result;
    result.reserve(translated.size() + 8 * arguments.size());
    std::size_t nextArgument = 0;
    std::size_t i = 0;
    while (i < translated.size()) {
        const char c = translated[i];
        if (c != '%') {
            result += c;
            ++i;
            continue;
        }
        const std::string_view rest = translated.substr(i + 1);
        if (rest.starts_with('%')) {
            result += '%';
            i += 2;
            continue;
        }
        if (rest.starts_with(lengthAndConversion)) {
            if (nextArgument < arguments.size()) {
                result += writeNumber(arguments[nextArgument], formatNumber);
                ++nextArgument;
            } else {
                result.append("%lld");
            }
            i += 1 + lengthAndConversion.size();
            continue;
        }
        // Positional form: "%<n>$lld", n counted from 1.
        std::size_t digits = 0;
        std::size_t position = 0;
        while (digits < rest.size() && digits < 9 && rest[digits] >= '0' && rest[digits] <= '9') {
            position = position * 10 + static_cast<std::size_t>(rest[digits] - '0');
            ++digits;
        }
        if (digits > 0 && rest.substr(digits).starts_with("$lld")) {
            const std::size_t length = 1 + digits + 1 + lengthAndConversion.size();
            if (position >= 1 && position <= arguments.size())
                result += writeNumber(arguments[position - 1], formatNumber);
            else
                result.append(translated.substr(i, length));
            i += length;
            continue;
        }
        result += '%';
        ++i;
    }
    return result;
}

std::string LocalizedText::localized(const Translate& translate, const FormatNumber& formatNumber) const
{
    if (!translate)
        return format(key, formatNumber);
    const std::optional<long long> count = arguments.empty() ? std::nullopt : std::optional(arguments.front());
    return format(translate(key, count), formatNumber);
}

}
