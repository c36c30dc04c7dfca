// SPDX-License-Identifier: MIT
#include "Text/WidgetLocalization.h"

#include <algorithm>

namespace quelm {

bool WidgetLocalization::isLanguageName(std::string_view language)
{
    return !language.empty() && std::all_of(language.begin(), language.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '@';
    });
}

WidgetLocalization WidgetLocalization::choose(const std::optional<std::string>& snapshotLanguage,
    const HasTranslation& hasTranslation, std::string_view currentLocale)
{
    WidgetLocalization result { std::nullopt, std::string(currentLocale) };
    if (!snapshotLanguage)
        return result;
    result.locale = *snapshotLanguage;
    if (isLanguageName(*snapshotLanguage) && hasTranslation && hasTranslation(*snapshotLanguage))
        result.translation = *snapshotLanguage;
    return result;
}

std::string WidgetLocalization::translationFileName(std::string_view language)
{
    return "quelm_" + std::string(language) + ".qm";
}

}
