// SPDX-License-Identifier: MIT
#include "Text/RelativeTime.h"

#include "Text/IcuMeasureUnit.h"
#include "Text/LocaleForms.h"

#include <unicode/locid.h>
#include <unicode/measfmt.h>
#include <unicode/measure.h>
#include <unicode/unistr.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

namespace quelm {

namespace {

constexpr std::int64_t secondsPerMinute = 60;
constexpr std::int64_t secondsPerHour = 60 * secondsPerMinute;
constexpr std::int64_t secondsPerDay = 24 * secondsPerHour;

std::int64_t elapsedSeconds(Date since, Date now)
{
    const double seconds = std::floor(now.secondsSince(since));
    if (!(seconds > 0))
        return 0;
    if (seconds > 1e15)
        return static_cast<std::int64_t>(1e15);
    return static_cast<std::int64_t>(seconds);
}

using Unit = LocaleForms::Unit;

struct Amount {
    std::int64_t value;
    Unit unit;
};

std::vector<Amount> amounts(std::int64_t elapsed)
{
    if (elapsed < secondsPerMinute)
        return { { elapsed, Unit::second } };
    if (elapsed < secondsPerHour)
        return { { elapsed / secondsPerMinute, Unit::minute } };
    std::vector<Amount> result;
    if (elapsed < secondsPerDay) {
        result.push_back({ elapsed / secondsPerHour, Unit::hour });
        if (const auto minutes = (elapsed % secondsPerHour) / secondsPerMinute; minutes > 0)
            result.push_back({ minutes, Unit::minute });
    } else {
        result.push_back({ elapsed / secondsPerDay, Unit::day });
        if (const auto hours = (elapsed % secondsPerDay) / secondsPerHour; hours > 0)
            result.push_back({ hours, Unit::hour });
    }
    return result;
}

std::string_view fallbackUnitName(Unit unit)
{
    switch (unit) {
    case Unit::second:
        return "s";
    case Unit::minute:
        return "min";
    case Unit::hour:
        return "h";
    case Unit::day:
        break;
    }
    return "d";
}

std::string fallbackText(const std::vector<Amount>& parts)
{
    std::string text;
    for (const Amount& part : parts) {
        if (!text.empty())
            text += ", ";
        text += std::to_string(part.value) + " " + std::string(fallbackUnitName(part.unit));
    }
    return text;
}

// The ICU locale id of a POSIX name or BCP 47 tag: "pt_BR.UTF-8" and "pt-BR" → "pt_BR"; "C" and
// "POSIX" → "", the root.
std::string icuLocaleID(std::string_view identifier)
{
    std::string name(identifier.substr(0, identifier.find('.')));
    if (name == "C" || name == "POSIX")
        name.clear();
    for (char& c : name) {
        if (c == '-')
            c = '_';
    }
    return name;
}

std::string writtenWith(const LocaleForms& forms, const std::vector<Amount>& parts)
{
    std::string text = forms.amount(parts.front().value, parts.front().unit);
    if (parts.size() > 1)
        text = forms.pair(text, forms.amount(parts.back().value, parts.back().unit));
    return text;
}

std::string icuText(const std::vector<Amount>& parts, const std::string& localeID)
{
    // Building a format reads the locale's data: each thread keeps the one it used last.
    thread_local std::string formatLocale;
    thread_local std::unique_ptr<icu::MeasureFormat> cachedFormat;
    UErrorCode status = U_ZERO_ERROR;
    if (!cachedFormat || formatLocale != localeID) {
        cachedFormat.reset();
        auto made = std::make_unique<icu::MeasureFormat>(icu::Locale::createCanonical(localeID.c_str()), UMEASFMT_WIDTH_SHORT, status);
        if (U_FAILURE(status))
            return fallbackText(parts);
        cachedFormat = std::move(made);
        formatLocale = localeID;
    }
    const icu::MeasureFormat& format = *cachedFormat;

    std::vector<icu::Measure> measures;
    measures.reserve(parts.size());
    for (const Amount& part : parts) {
        icu::MeasureUnit* unit = detail::icuMeasureUnit(part.unit, status); // adopted by the Measure
        if (U_FAILURE(status)) {
            delete unit;
            return fallbackText(parts);
        }
        measures.emplace_back(icu::Formattable(static_cast<int64_t>(part.value)), unit, status);
        if (U_FAILURE(status))
            return fallbackText(parts);
    }

    icu::UnicodeString formatted;
    icu::FieldPosition position(icu::FieldPosition::DONT_CARE);
    format.formatMeasures(measures.data(), static_cast<int32_t>(measures.size()), formatted, position, status);
    if (U_FAILURE(status))
        return fallbackText(parts);
    std::string result;
    formatted.toUTF8String(result);
    return result;
}

}

std::string RelativeTime::text(Date since, Date now, std::string_view locale)
{
    const std::vector<Amount> parts = amounts(elapsedSeconds(since, now));
    const std::string localeID = icuLocaleID(locale);
    if (const LocaleForms* forms = LocaleForms::find(localeID))
        return writtenWith(*forms, parts);
    return icuText(parts, localeID);
}

Date RelativeTime::nextChange(Date since, Date now)
{
    const std::int64_t elapsed = elapsedSeconds(since, now);
    std::int64_t step = 1;
    if (elapsed >= secondsPerDay)
        step = secondsPerHour;
    else if (elapsed >= secondsPerMinute)
        step = secondsPerMinute;
    const std::int64_t next = (elapsed / step + 1) * step;
    return since.addingSeconds(static_cast<double>(next));
}

}
