// SPDX-License-Identifier: MIT
#pragma once

#include "Text/LocalizedText.h"
#include "Text/WidgetLocalization.h"

#include <quelm/Date.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

class QTranslator;

namespace quelm::views {

// Turns the widget's texts into the language the snapshot names: the compiled translation
// "quelm_<lang>.qm" from the installed translations folder or the library's resource, or, when
// there is none, the base texts (Brazilian Portuguese), silently. Numbers and relative times
// follow the snapshot's language as a locale, or the user's locale when it names none.
class Localizer {
public:
    // The language `localization.translation` (none: base texts) and its locale.
    explicit Localizer(WidgetLocalization localization);

    // For a snapshot's language, falling back to `currentLocale` (see currentLocaleName).
    static Localizer forSnapshotLanguage(const std::optional<std::string>& language, std::string_view currentLocale);
    // For the user's own locale: its language's translation when there is one. The mark's
    // accessibility label speaks it, not the snapshot's language.
    static Localizer forCurrentLocale(std::string_view currentLocale);

    // Whether `quelm_<language>.qm` is installed or embedded and can be read.
    static bool hasTranslation(std::string_view language);
    // The locale of the user's messages: the first non-empty of LC_ALL, LC_MESSAGES and LANG
    // ("" when none is set).
    static std::string currentLocaleName();

    const WidgetLocalization& localization() const { return m_localization; }

    // The key's translation, or the key itself; with a count, the translation's form for that
    // number where it has plural forms.
    std::string translate(std::string_view key, std::optional<long long> count = std::nullopt) const;
    // Translated, with its numbers written in the locale.
    std::string text(const LocalizedText&) const;
    std::string number(long long) const;
    // The time elapsed since `since`, in the relative style of the locale.
    std::string relativeTime(Date since, Date now) const;

    LocalizedText::Translate translator() const;

private:
    std::string formatted(long long) const;

    WidgetLocalization m_localization;
    std::shared_ptr<const QTranslator> m_translator;
};

}
