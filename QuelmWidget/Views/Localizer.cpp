// SPDX-License-Identifier: MIT
#include "Views/Localizer.h"

#include "Text/LocaleForms.h"
#include "Text/LocalizationKeys.h"
#include "Text/RelativeTime.h"
#include "Views/BoundedCache.h"
#include "Views/TranslationCatalogue.h"

#include <QString>
#include <QTranslator>

#include <unicode/locid.h>
#include <unicode/numberformatter.h>
#include <unicode/unistr.h>

#include <cmath>
#include <cstdlib>
#include <limits>

namespace quelm::views {

namespace {

// "pt_BR.UTF-8", "en-US", "de_DE@euro" → the ICU identifiers "pt_BR", "en_US", "de_DE".
std::string icuLocaleID(std::string_view name)
{
    std::string id(name.substr(0, name.find_first_of(".@")));
    for (char& c : id) {
        if (c == '-')
            c = '_';
    }
    if (id == "C" || id == "POSIX")
        return "en_US_POSIX";
    return id;
}

// The key under which `value`, as written in `locale`, is kept between renders.
template<typename Value>
std::string writtenKey(const std::string& locale, Value value)
{
    std::string key = locale;
    key.push_back('\0');
    key.append(reinterpret_cast<const char*>(&value), sizeof value);
    return key;
}

// The language part of a locale name: "en" of "en_GB.UTF-8".
std::string languageOf(std::string_view locale)
{
    return std::string(locale.substr(0, locale.find_first_of("_-.@")));
}

}

Localizer::Localizer(WidgetLocalization localization)
    : m_localization(std::move(localization))
{
    if (m_localization.translation)
        m_translator = TranslationCatalogue::translator(*m_localization.translation);
}

Localizer Localizer::forSnapshotLanguage(const std::optional<std::string>& language, std::string_view currentLocale)
{
    return Localizer(WidgetLocalization::choose(language, &Localizer::hasTranslation, currentLocale));
}

Localizer Localizer::forCurrentLocale(std::string_view currentLocale)
{
    const std::string language = languageOf(currentLocale);
    WidgetLocalization localization { std::nullopt, std::string(currentLocale) };
    if (WidgetLocalization::isLanguageName(language) && hasTranslation(language))
        localization.translation = language;
    return Localizer(std::move(localization));
}

bool Localizer::hasTranslation(std::string_view language)
{
    return TranslationCatalogue::translator(language) != nullptr;
}

std::string Localizer::currentLocaleName()
{
    for (const char* variable : { "LC_ALL", "LC_MESSAGES", "LANG" }) {
        const char* value = std::getenv(variable);
        if (value && *value)
            return value;
    }
    return {};
}

std::string Localizer::translate(std::string_view key, std::optional<long long> count) const
{
    if (!m_translator)
        return std::string(key);
    const std::string context(LocalizationKeys::context);
    const std::string source(key);
    QString translated;
    // A text without plural forms has one translation, which a count past the first form misses.
    if (count && *count >= 0 && *count <= std::numeric_limits<int>::max())
        translated = m_translator->translate(context.c_str(), source.c_str(), nullptr, static_cast<int>(*count));
    if (translated.isEmpty())
        translated = m_translator->translate(context.c_str(), source.c_str());
    return translated.isEmpty() ? source : translated.toStdString();
}

std::string Localizer::number(long long value) const
{
    // Formatting a number takes longer than laying out its row; renders show the same few again.
    static BoundedCache<std::string, std::string> written(256);
    return written.get(writtenKey(m_localization.locale, value), [&] { return formatted(value); });
}

std::string Localizer::formatted(long long value) const
{
    const std::string locale = icuLocaleID(m_localization.locale);
    if (const LocaleForms* forms = LocaleForms::find(locale))
        return forms->number(value);
    // Each thread keeps the formatter of the locale it wrote numbers in last.
    thread_local std::string formatterLocale;
    thread_local std::optional<icu::number::LocalizedNumberFormatter> formatter;
    if (!formatter || formatterLocale != m_localization.locale) {
        formatter = icu::number::NumberFormatter::withLocale(icu::Locale(locale.c_str()));
        formatterLocale = m_localization.locale;
    }
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString formatted = formatter->formatInt(static_cast<int64_t>(value), status).toString(status);
    if (U_FAILURE(status))
        return std::to_string(value);
    std::string result;
    return formatted.toUTF8String(result);
}

std::string Localizer::text(const LocalizedText& text) const
{
    return text.localized(translator(), [this](long long value) { return number(value); });
}

std::string Localizer::relativeTime(Date since, Date now) const
{
    // The text follows the whole seconds elapsed; rows started together show the same one.
    static BoundedCache<std::string, std::string> written(256);
    const double elapsed = std::floor(now.secondsSince(since));
    return written.get(writtenKey(m_localization.locale, elapsed), [&] { return RelativeTime::text(since, now, m_localization.locale); });
}

LocalizedText::Translate Localizer::translator() const
{
    return [this](std::string_view key, std::optional<long long> count) { return translate(key, count); };
}

}
