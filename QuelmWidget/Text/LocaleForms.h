// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace quelm {

// How the locales the widget is written for spell numbers and amounts of time, exactly as ICU
// spells them. ICU's formatters cost the host megabytes of memory the first time they run, and
// nearly every render needs them; with these forms the usual locales never wake them.
//
//   if (const LocaleForms* forms = LocaleForms::find("pt_BR"))
//       forms->number(1234);                           // "1.234"
//
// A locale without forms here (most of them) is for ICU to spell.
class LocaleForms {
public:
    enum class Unit { second, minute, hour, day };

    // The forms of an ICU locale id ("pt_BR", "en", "" for the root; "pt-BR" and "pt_BR.UTF-8"
    // name the same), or null when ICU has to spell that locale.
    static const LocaleForms* find(std::string_view locale);

    // `value` in decimal, its digits grouped by thousands as the locale groups them.
    std::string number(long long value) const;
    // `value` followed by the abbreviated unit ("5 min", "3 dias").
    std::string amount(long long value, Unit unit) const;
    // Two amounts as one ("2 h e 5 min").
    std::string pair(const std::string& first, const std::string& second) const;

    struct UnitNames {
        std::string_view one;
        std::string_view other;
    };
    struct Spelling {
        std::string_view groupSeparator; // empty: digits are not grouped
        bool zeroIsOne; // the plural rule: "one" covers 0 and 1 (Portuguese) or only 1
        UnitNames second, minute, hour, day;
        std::string_view pairSeparator;
    };
    explicit constexpr LocaleForms(Spelling spelling)
        : m_spelling(spelling)
    {
    }

private:
    Spelling m_spelling;
};

namespace detail {
// "pt-br.UTF-8@euro" → "pt_BR": the form in which locale ids are looked up.
std::string normalizedLocaleID(std::string_view locale);
}

}
