// SPDX-License-Identifier: MIT
// Titles in ASCII are ordered without ICU: that order must be ICU's own, for every locale it is
// used for. Each test asks ICU for the answer and compares.
#include "Layout/AsciiCollation.h"
#include "Layout/TitleCollator.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/stringpiece.h>

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

namespace quelm {
namespace {

class IcuOrder {
public:
    explicit IcuOrder(const char* locale)
    {
        UErrorCode status = U_ZERO_ERROR;
        m_collator.reset(icu::Collator::createInstance(*locale ? icu::Locale(locale) : icu::Locale::getRoot(), status));
        m_collator->setStrength(icu::Collator::SECONDARY);
        m_collator->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
        EXPECT_TRUE(U_SUCCESS(status));
    }

    int operator()(const std::string& a, const std::string& b) const
    {
        UErrorCode status = U_ZERO_ERROR;
        return m_collator->compareUTF8(icu::StringPiece(a), icu::StringPiece(b), status);
    }

private:
    std::unique_ptr<icu::Collator> m_collator;
};

int sign(int value)
{
    return (value > 0) - (value < 0);
}

// Texts built mostly from the characters where orders go wrong: digits and zeros, letters in both
// cases, spaces and punctuation, control characters.
std::string randomText(std::mt19937& random)
{
    static const std::string common = "0000123456789aAbBzZ  -_.,;:!?'\"()[]{}@*/\\&#%`^+<=>|~$\t\n\r";
    std::uniform_int_distribution<int> length(0, 8);
    std::uniform_int_distribution<int> kind(0, 9);
    std::uniform_int_distribution<int> anyByte(0, 127);
    std::uniform_int_distribution<std::size_t> commonByte(0, common.size() - 1);
    std::string text;
    for (int n = length(random); n > 0; --n)
        text += kind(random) == 0 ? char(anyByte(random)) : common[commonByte(random)];
    return text;
}

TEST(AsciiCollation, EveryPairOfCharactersIsOrderedAsIcuOrdersIt)
{
    const IcuOrder icu("");
    for (int a = 0; a < 128; ++a) {
        for (int b = 0; b < 128; ++b) {
            const std::string x(1, char(a));
            const std::string y(1, char(b));
            ASSERT_EQ(detail::asciiCollation(x, y), sign(icu(x, y))) << a << " " << b;
            ASSERT_EQ(detail::asciiCollation("a" + x + "1", "a" + y + "01"), sign(icu("a" + x + "1", "a" + y + "01"))) << a << " " << b;
        }
    }
}

TEST(AsciiCollation, RandomTitlesAreOrderedAsIcuOrdersThemInEveryLocaleItServes)
{
    std::mt19937 random(20261125);
    for (const char* locale : { "", "en", "en_US", "en_GB", "en_CA", "en_AU", "pt", "pt_BR", "pt_PT" }) {
        SCOPED_TRACE(locale);
        const IcuOrder icu(locale);
        const TitleCollator titles(locale);
        for (int i = 0; i < 100000; ++i) {
            const std::string a = randomText(random);
            const std::string b = i % 4 == 0 ? a + randomText(random) : randomText(random);
            ASSERT_EQ(detail::asciiCollation(a, b), sign(icu(a, b))) << '"' << a << "\" \"" << b << '"';
            ASSERT_EQ(sign(titles.compare(a, b)), sign(icu(a, b))) << '"' << a << "\" \"" << b << '"';
        }
    }
}

TEST(AsciiCollation, NumbersCountByValueWhateverTheirZeros)
{
    const IcuOrder icu("");
    for (const auto& [a, b] : std::vector<std::pair<std::string, std::string>> {
             { "svc 2", "svc 10" }, { "007", "7" }, { "0", "00" }, { "x0", "x" }, { "a-1", "a1" }, { "v1.10", "v1.9" },
             { "99999999999999999999999", "100000000000000000000000" }, { std::string(199, '9'), "1" + std::string(199, '0') } }) {
        EXPECT_EQ(detail::asciiCollation(a, b), sign(icu(a, b))) << a << " " << b;
    }
    EXPECT_LT(*detail::asciiCollation("svc 2", "svc 10"), 0);
    EXPECT_EQ(*detail::asciiCollation("007", "7"), 0);
}

TEST(AsciiCollation, LeavesToIcuWhatItCannotAnswer)
{
    EXPECT_EQ(detail::asciiCollation("caf\xc3\xa9", "cafe"), std::nullopt);
    EXPECT_EQ(detail::asciiCollation("a", "\x80"), std::nullopt);
    EXPECT_EQ(detail::asciiCollation(std::string(201, '1'), "1"), std::nullopt);
    EXPECT_NE(detail::asciiCollation(std::string(200, '1'), "1"), std::nullopt);
}

TEST(AsciiCollation, TitlesWithAccentsOrInTailoredLocalesStillSortAsIcuSorts)
{
    // "ch" is a letter of its own in Czech, after "h"; "é" differs from "e" only by its accent.
    const TitleCollator czech("cs_CZ.UTF-8");
    EXPECT_GT(czech.compare("chata", "hrad"), 0);
    const TitleCollator brazilian("pt_BR.UTF-8");
    EXPECT_LT(brazilian.compare("cafe", "caf\xc3\xa9"), 0);
    EXPECT_LT(brazilian.compare("caf\xc3\xa9", "cafes"), 0);
    EXPECT_EQ(brazilian.compare("Web", "web"), 0);
}

}
}
