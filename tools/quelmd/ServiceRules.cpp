// SPDX-License-Identifier: MIT
#include "ServiceRules.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>
#include <vector>

namespace quelmd {

namespace detail {

// The accented Latin letters of Portuguese (and their neighbours), as UTF-8, with the letter
// a slug keeps of them.
constexpr std::array<std::pair<std::string_view, char>, 30> latinLetters { {
    { "á", 'a' }, { "à", 'a' }, { "â", 'a' }, { "ã", 'a' }, { "ä", 'a' }, { "Á", 'a' }, { "À", 'a' }, { "Â", 'a' }, { "Ã", 'a' },
    { "é", 'e' }, { "ê", 'e' }, { "è", 'e' }, { "É", 'e' }, { "Ê", 'e' },
    { "í", 'i' }, { "Í", 'i' },
    { "ó", 'o' }, { "ô", 'o' }, { "õ", 'o' }, { "ö", 'o' }, { "Ó", 'o' }, { "Ô", 'o' }, { "Õ", 'o' },
    { "ú", 'u' }, { "ü", 'u' }, { "Ú", 'u' },
    { "ç", 'c' }, { "Ç", 'c' }, { "ñ", 'n' }, { "Ñ", 'n' },
} };

bool isAsciiAlnum(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// The words of a command line or unit name: its program's base name and the rest, lower-case.
std::vector<std::string> words(std::string_view text)
{
    std::vector<std::string> result;
    std::string word;
    for (const char c : text) {
        if (c == ' ' || c == '\t' || c == '/' || c == '"' || c == '\'' || c == ';' || c == '&' || c == '|' || c == '(' || c == ')') {
            if (!word.empty())
                result.push_back(std::exchange(word, {}));
        } else {
            word += lower(c);
        }
    }
    if (!word.empty())
        result.push_back(word);
    return result;
}

bool matchesAny(const std::string& word, std::initializer_list<std::string_view> names)
{
    return std::any_of(names.begin(), names.end(), [&](std::string_view name) {
        // "postgresql.service", "redis-server", "node20" count as their names.
        return word == name || (word.starts_with(name) && !isAsciiAlnum(word[name.size()]))
            || (word.starts_with(name) && word.size() > name.size() && word[name.size()] >= '0' && word[name.size()] <= '9');
    });
}

std::optional<std::string> variable(const char* name)
{
    const char* value = std::getenv(name);
    if (!value)
        return std::nullopt;
    return std::string(value);
}

// "en_GB.UTF-8@euro" → "en".
std::string languagePart(std::string_view locale)
{
    const std::size_t end = locale.find_first_of("_.@");
    return std::string(locale.substr(0, end));
}

// What one locale name means for the widget: a shipped language, the base texts (Portuguese), or
// nothing known (nullopt), in which case the next choice is looked at.
enum class Choice { shipped, base, unknown };

Choice choose(std::string_view locale, std::string& shipped)
{
    const std::string language = languagePart(locale);
    if (language == "en") {
        shipped = "en";
        return Choice::shipped;
    }
    if (language == "pt")
        return Choice::base;
    return Choice::unknown;
}

}

std::string slug(std::string_view text)
{
    std::string result;
    bool separator = false;
    for (std::size_t index = 0; index < text.size();) {
        char letter = 0;
        std::size_t length = 1;
        if (detail::isAsciiAlnum(text[index])) {
            letter = detail::lower(text[index]);
        } else {
            for (const auto& [spelling, base] : detail::latinLetters)
                if (text.substr(index).starts_with(spelling)) {
                    letter = base;
                    length = spelling.size();
                    break;
                }
        }
        if (letter) {
            if (separator && !result.empty())
                result += '-';
            separator = false;
            result += letter;
        } else {
            separator = true;
        }
        index += length;
    }
    return result;
}

bool isServiceId(std::string_view id)
{
    return !id.empty() && std::all_of(id.begin(), id.end(), [](char c) {
        return detail::isAsciiAlnum(c) || c == '-' || c == '_' || c == '.';
    });
}

std::string guessCategory(std::string_view commandOrUnit)
{
    for (const std::string& word : detail::words(commandOrUnit)) {
        if (detail::matchesAny(word, { "docker", "docker-compose", "podman", "podman-compose", "compose" }))
            return "docker";
        if (detail::matchesAny(word, { "kubectl", "minikube", "kind", "k3s", "k3d", "helm", "tilt", "skaffold", "microk8s" }))
            return "kubernetes";
        if (detail::matchesAny(word, { "postgres", "postgresql", "pg_ctl", "mysqld", "mysql", "mariadb", "mariadbd", "redis-server",
                "redis", "mongod", "mongodb", "valkey", "memcached", "clickhouse", "cockroach" }))
            return "database";
        if (detail::matchesAny(word, { "node", "npm", "npx", "yarn", "pnpm", "bun", "deno", "vite", "next", "nodemon", "tsx", "ts-node" }))
            return "node";
    }
    return "server";
}

LocaleEnvironment LocaleEnvironment::fromProcess()
{
    return { detail::variable("LANGUAGE"), detail::variable("LC_ALL"), detail::variable("LC_MESSAGES"), detail::variable("LANG") };
}

std::optional<std::string> widgetLanguage(const LocaleEnvironment& environment)
{
    std::string locale;
    for (const auto* value : { &environment.all, &environment.messages, &environment.lang })
        if (*value && !(*value)->empty()) {
            locale = **value;
            break;
        }
    // gettext ignores LANGUAGE under the C locale, and so do we.
    if (locale.empty() || locale == "C" || locale == "POSIX" || locale.starts_with("C."))
        return std::nullopt;

    std::string shipped;
    if (environment.language) {
        std::string_view list = *environment.language;
        while (!list.empty()) {
            const std::size_t colon = list.find(':');
            const std::string_view entry = list.substr(0, colon);
            list = colon == std::string_view::npos ? std::string_view() : list.substr(colon + 1);
            if (entry.empty())
                continue;
            switch (detail::choose(entry, shipped)) {
            case detail::Choice::shipped:
                return shipped;
            case detail::Choice::base:
                return std::nullopt;
            case detail::Choice::unknown:
                break;
            }
        }
    }
    if (detail::choose(locale, shipped) == detail::Choice::shipped)
        return shipped;
    return std::nullopt;
}

}
