// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quelm {

// A user-visible text before localisation: the key (its Brazilian Portuguese text, which is also
// the base text) and the integers that fill its "%lld" placeholders, in order. The view looks the
// key up in its translations and hands the result to `format`.
struct LocalizedText {
    // Looks a key up in a table of translations; returns the key itself when there is none. A
    // counted text passes its count (its first number), which picks the translation's plural form.
    using Translate = std::function<std::string(std::string_view key, std::optional<long long> count)>;
    // Writes one integer argument (for example with a locale's digits and grouping).
    using FormatNumber = std::function<std::string(long long)>;

    std::string key;
    std::vector<long long> arguments {};

    // `translated` (the key's translation, or the key itself) with its placeholders filled:
    // "%lld" takes the next argument; "%1$lld", "%2$lld"… take the argument at that position
    // (so that a translation may reorder them); "%%" is a percent sign. A placeholder whose
    // argument is missing, and any other '%' sequence, stays as it stands. Numbers are written in
    // plain decimal unless `formatNumber` is given.
    std::string format(std::string_view translated, const FormatNumber& formatNumber = {}) const;

    // `format(translate(key, first argument))`.
    std::string localized(const Translate& translate, const FormatNumber& formatNumber = {}) const;

    // The base text: `format(key)`.
    std::string baseText() const { return format(key); }

    bool operator==(const LocalizedText&) const = default;
};

}
