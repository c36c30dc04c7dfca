// SPDX-License-Identifier: MIT
// The widget's own spelling of numbers and amounts of time must be ICU's, letter for letter: each
// form is checked here against ICU itself.
#include "Text/IcuMeasureUnit.h"
#include "Text/LocaleForms.h"
#include "Text/RelativeTime.h"

#include <unicode/locid.h>
#include <unicode/measfmt.h>
#include <unicode/measure.h>
#include <unicode/numberformatter.h>
#include <unicode/unistr.h>

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <vector>

namespace quelm {
namespace {

using Unit = LocaleForms::Unit;

constexpr Unit units[] = { Unit::second, Unit::minute, Unit::hour, Unit::day };

// The ICU locales with forms of their own, and one name for each as the widget meets it.
const std::vector<std::pair<std::string, std::string>> spelledLocales {
    { "", "" },
    { "en", "en" },
    { "en_US", "en-US" },
    { "en_US_POSIX", "en_US_POSIX" },
    { "pt", "pt" },
    { "pt_BR", "pt_BR.UTF-8" },
};

std::string utf8(const icu::UnicodeString& text)
{
    std::string result;
    return text.toUTF8String(result);
}

std::string icuNumber(const std::string& locale, long long value)
{
    UErrorCode status = U_ZERO_ERROR;
    const auto formatter = icu::number::NumberFormatter::withLocale(icu::Locale(locale.c_str()));
    const std::string text = utf8(formatter.formatInt(static_cast<int64_t>(value), status).toString(status));
    EXPECT_TRUE(U_SUCCESS(status));
    return text;
}

std::string icuAmounts(const std::string& locale, const std::vector<std::pair<long long, Unit>>& amounts)
{
    UErrorCode status = U_ZERO_ERROR;
    const icu::MeasureFormat format(icu::Locale(locale.c_str()), UMEASFMT_WIDTH_SHORT, status);
    std::vector<icu::Measure> measures;
    for (const auto& [value, unit] : amounts)
        measures.emplace_back(icu::Formattable(static_cast<int64_t>(value)), detail::icuMeasureUnit(unit, status), status);
    icu::UnicodeString text;
    icu::FieldPosition position(icu::FieldPosition::DONT_CARE);
    format.formatMeasures(measures.data(), static_cast<int32_t>(measures.size()), text, position, status);
    EXPECT_TRUE(U_SUCCESS(status));
    return utf8(text);
}

std::vector<long long> sampleNumbers()
{
    std::vector<long long> numbers { LLONG_MIN, LLONG_MAX, LLONG_MIN + 1 };
    for (long long value = -1100; value <= 1100; ++value)
        numbers.push_back(value);
    for (long long power = 1000; power <= 1'000'000'000'000'000'000LL / 10; power *= 10) {
        for (const long long value : { power - 1, power, power + 1, 12 * power + 345 }) {
            numbers.push_back(value);
            numbers.push_back(-value);
        }
    }
    return numbers;
}

TEST(LocaleForms, NumbersAreWrittenAsIcuWritesThem)
{
    const auto numbers = sampleNumbers();
    for (const auto& [icuID, name] : spelledLocales) {
        SCOPED_TRACE(icuID);
        const LocaleForms* forms = LocaleForms::find(name);
        ASSERT_NE(forms, nullptr);
        for (const long long value : numbers)
            ASSERT_EQ(forms->number(value), icuNumber(icuID, value)) << value;
    }
}

TEST(LocaleForms, AmountsOfTimeAreWrittenAsIcuWritesThem)
{
    std::vector<long long> values;
    for (long long value = 0; value <= 130; ++value)
        values.push_back(value);
    for (const long long value : { 999LL, 1000LL, 1001LL, 21'000LL, 1'234'567LL, 11'574'074'074LL })
        values.push_back(value);
    for (const auto& [icuID, name] : spelledLocales) {
        SCOPED_TRACE(icuID);
        const LocaleForms& forms = *LocaleForms::find(name);
        for (const Unit unit : units) {
            for (const long long value : values)
                ASSERT_EQ(forms.amount(value, unit), icuAmounts(icuID, { { value, unit } })) << value;
        }
        for (const auto& [first, second] : { std::pair { Unit::hour, Unit::minute }, std::pair { Unit::day, Unit::hour } }) {
            for (const long long value : { 1LL, 2LL, 23LL, 1234LL }) {
                EXPECT_EQ(forms.pair(forms.amount(value, first), forms.amount(1, second)),
                    icuAmounts(icuID, { { value, first }, { 1, second } }));
                EXPECT_EQ(forms.pair(forms.amount(1, first), forms.amount(value, second)),
                    icuAmounts(icuID, { { 1, first }, { value, second } }));
            }
        }
    }
}

TEST(LocaleForms, ElapsedTimesReadAsIcuWritesThem)
{
    const Date start(1'700'000'000);
    const std::vector<std::pair<double, std::vector<std::pair<long long, Unit>>>> elapsed {
        { 0, { { 0, Unit::second } } },
        { 1, { { 1, Unit::second } } },
        { 59.9, { { 59, Unit::second } } },
        { 60, { { 1, Unit::minute } } },
        { 3599, { { 59, Unit::minute } } },
        { 3600, { { 1, Unit::hour } } },
        { 3660, { { 1, Unit::hour }, { 1, Unit::minute } } },
        { 86399, { { 23, Unit::hour }, { 59, Unit::minute } } },
        { 86400, { { 1, Unit::day } } },
        { 90000, { { 1, Unit::day }, { 1, Unit::hour } } },
        { 1e9, { { 11574, Unit::day }, { 1, Unit::hour } } },
    };
    // "C" reads as ICU's root; French has no forms of the widget's own and goes to ICU.
    for (const auto& [name, icuID] : std::vector<std::pair<std::string, std::string>> {
             { "pt_BR.UTF-8", "pt_BR" }, { "en-US", "en_US" }, { "C", "" }, { "fr", "fr" } }) {
        for (const auto& [seconds, amounts] : elapsed)
            EXPECT_EQ(RelativeTime::text(start, start.addingSeconds(seconds), name), icuAmounts(icuID, amounts)) << name << " " << seconds;
    }
}

TEST(LocaleForms, LocalesThatSpellOtherwiseAreLeftToIcu)
{
    // British English writes "mins", European Portuguese groups with a narrow space.
    for (const char* locale : { "en_GB", "en_AU", "pt_PT", "es", "de_DE", "fr", "zh_Hans", "C", "x" })
        EXPECT_EQ(LocaleForms::find(locale), nullptr) << locale;
    EXPECT_NE(icuAmounts("en_GB", { { 5, Unit::minute } }), icuAmounts("en", { { 5, Unit::minute } }));
    EXPECT_NE(icuNumber("pt_PT", 1234567), icuNumber("pt", 1234567));
}

TEST(LocaleForms, LocaleNamesAreLookedUpInOneForm)
{
    EXPECT_EQ(detail::normalizedLocaleID("pt-br.UTF-8@euro"), "pt_BR");
    EXPECT_EQ(detail::normalizedLocaleID("EN_us"), "en_US");
    EXPECT_EQ(detail::normalizedLocaleID("en_US_POSIX"), "en_US_POSIX");
    EXPECT_EQ(detail::normalizedLocaleID("zh-Hans-CN"), "zh_Hans_CN");
    EXPECT_EQ(detail::normalizedLocaleID(""), "");
    EXPECT_EQ(LocaleForms::find("pt-BR"), LocaleForms::find("pt_BR"));
    EXPECT_EQ(LocaleForms::find("en_US.UTF-8"), LocaleForms::find("en"));
}

}
}
