// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quelmd {

// "web (dev)" → "web-dev", "Ação Rápida" → "acao-rapida": lower-case ASCII letters and digits,
// every other run of characters one hyphen, none at either end. Empty when nothing is left.
std::string slug(std::string_view text);

// Whether `id` may name a service: letters, digits, '-', '_' and '.', so that "quelm-<id>.service"
// is a unit name.
bool isServiceId(std::string_view id);

// The widget's category for a command or a unit name: "node", "docker", "database", "kubernetes",
// or "server" when nothing gives it away.
std::string guessCategory(std::string_view commandOrUnit);

// The locale as the C library's gettext would choose it: LANGUAGE (a list) when the locale is not
// C, else LC_ALL, LC_MESSAGES, LANG in that order.
struct LocaleEnvironment {
    std::optional<std::string> language; // LANGUAGE
    std::optional<std::string> all;      // LC_ALL
    std::optional<std::string> messages; // LC_MESSAGES
    std::optional<std::string> lang;     // LANG

    static LocaleEnvironment fromProcess();
};

// The widget language to publish for that locale: a shipped localisation ("en" for any English
// locale), or nothing for the widget's base Portuguese texts.
std::optional<std::string> widgetLanguage(const LocaleEnvironment&);

}
