// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace quelm {

// The language of the widget's texts and the locale of its numbers and relative times.
// The app, not the system, picks the language through the snapshot.
struct WidgetLocalization {
    // Whether a translation for that language is installed and can be read
    // (`translationFileName(language)` in the translations folder or the Qt resource).
    using HasTranslation = std::function<bool(std::string_view language)>;

    // The language whose translation to load; none means the base texts (Brazilian Portuguese).
    std::optional<std::string> translation;
    // The locale identifier for numbers and relative times.
    std::string locale;

    // `translation`: the snapshot's language when it is set, is a plausible language name (ASCII
    // letters, digits, '-', '_' and '@'; so never a path) and `hasTranslation` says yes; otherwise
    // none, silently. `locale`: the snapshot's language when it is set (even without a
    // translation), else `currentLocale`.
    static WidgetLocalization choose(const std::optional<std::string>& snapshotLanguage, const HasTranslation& hasTranslation,
        std::string_view currentLocale);

    // "quelm_<language>.qm", the compiled Qt Linguist file of a language.
    static std::string translationFileName(std::string_view language);
    static bool isLanguageName(std::string_view language);

    bool operator==(const WidgetLocalization&) const = default;
};

}
