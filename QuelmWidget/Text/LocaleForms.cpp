// SPDX-License-Identifier: MIT
#include "Text/LocaleForms.h"

#include <array>
#include <cctype>
#include <utility>

namespace quelm {

namespace {

constexpr LocaleForms root({ ",", false, { "s", "s" }, { "min", "min" }, { "h", "h" }, { "d", "d" }, ", " });
constexpr LocaleForms english({ ",", false, { "sec", "sec" }, { "min", "min" }, { "hr", "hr" }, { "day", "days" }, ", " });
constexpr LocaleForms portuguese({ ".", true, { "s", "s" }, { "min", "min" }, { "h", "h" }, { "dia", "dias" }, " e " });
// What "C" and "POSIX" become for ICU: English words, digits not grouped.
constexpr LocaleForms posix({ "", false, { "sec", "sec" }, { "min", "min" }, { "hr", "hr" }, { "day", "days" }, ", " });

// Only locales whose every form was checked against ICU: British English, for one, writes "mins".
constexpr std::array<std::pair<std::string_view, const LocaleForms*>, 6> known { {
    { "", &root },
    { "en", &english },
    { "en_US", &english },
    { "en_US_POSIX", &posix },
    { "pt", &portuguese },
    { "pt_BR", &portuguese },
} };

}

namespace detail {

std::string normalizedLocaleID(std::string_view locale)
{
    std::string id(locale.substr(0, locale.find_first_of(".@")));
    std::size_t part = 0;
    std::size_t partStart = 0;
    for (std::size_t i = 0; i <= id.size(); ++i) {
        if (i < id.size() && id[i] != '-' && id[i] != '_')
            continue;
        // A language is written in lower case, a two-letter region in upper case.
        for (std::size_t j = partStart; j < i; ++j) {
            const auto c = static_cast<unsigned char>(id[j]);
            if (part == 0)
                id[j] = char(std::tolower(c));
            else if (part == 1 && i - partStart == 2)
                id[j] = char(std::toupper(c));
        }
        if (i < id.size())
            id[i] = '_';
        ++part;
        partStart = i + 1;
    }
    return id;
}

}

const LocaleForms* LocaleForms::find(std::string_view locale)
{
    const std::string id = detail::normalizedLocaleID(locale);
    for (const auto& [name, forms] : known) {
        if (name == id)
            return forms;
    }
    return nullptr;
}

std::string LocaleForms::number(long long value) const
{
    const bool negative = value < 0;
    unsigned long long magnitude = negative ? 0ULL - static_cast<unsigned long long>(value) : static_cast<unsigned long long>(value);
    std::string digits = std::to_string(magnitude);
    std::string text;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0)
            text += m_spelling.groupSeparator;
        text += digits[i];
    }
    return negative ? "-" + text : text;
}

std::string LocaleForms::amount(long long value, Unit unit) const
{
    const UnitNames& names = unit == Unit::second ? m_spelling.second
        : unit == Unit::minute                    ? m_spelling.minute
        : unit == Unit::hour                      ? m_spelling.hour
                                                  : m_spelling.day;
    const bool one = value == 1 || (m_spelling.zeroIsOne && value == 0);
    return number(value) + " " + std::string(one ? names.one : names.other);
}

std::string LocaleForms::pair(const std::string& first, const std::string& second) const
{
    return first + std::string(m_spelling.pairSeparator) + second;
}

}
