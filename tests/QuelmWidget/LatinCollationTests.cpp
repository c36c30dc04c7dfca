// SPDX-License-Identifier: MIT
// Titles in ASCII and Latin-1's accented letters are ordered without ICU: that order must be
// ICU's own, for every locale it is used for. Each test asks ICU for the answer and compares.
#include "Layout/LatinCollation.h"
#include "Layout/TitleCollator.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/stringpiece.h>

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <tuple>
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

// Every character of Latin-1 from U+00C0 on, in UTF-8.
std::string latin1(int codePoint)
{
    return { char(0xC0 | (codePoint >> 6)), char(0x80 | (codePoint & 0x3F)) };
}

// Texts built mostly from the characters where orders go wrong: digits and zeros, letters in both
// cases with and without accents, spaces and punctuation, control characters.
std::string randomText(std::mt19937& random)
{
    static const std::vector<std::string> common = [] {
        std::vector<std::string> characters;
        for (const char c : std::string("0000123456789aAbBcCeEnNoOuUzZ  -_.,;:!?'\"()[]{}@*/\\&#%`^+<=>|~$\t\n\r"))
            characters.emplace_back(1, c);
        for (const int codePoint : { 0xC0, 0xC1, 0xC2, 0xC3, 0xC5, 0xC7, 0xC9, 0xCA, 0xD1, 0xD3, 0xD5, 0xD6, 0xE0, 0xE1, 0xE2, 0xE3,
                 0xE4, 0xE5, 0xE7, 0xE8, 0xE9, 0xEA, 0xEB, 0xF1, 0xF3, 0xF4, 0xF5, 0xF6, 0xFC, 0xFD, 0xFF })
            characters.push_back(latin1(codePoint));
        return characters;
    }();
    std::uniform_int_distribution<int> length(0, 8);
    std::uniform_int_distribution<int> kind(0, 9);
    std::uniform_int_distribution<int> anyByte(0, 127);
    std::uniform_int_distribution<int> anyLatin1Letter(0xC0, 0xFF);
    std::uniform_int_distribution<std::size_t> commonCharacter(0, common.size() - 1);
    std::string text;
    for (int n = length(random); n > 0; --n) {
        const int pick = kind(random);
        text += pick == 0 ? std::string(1, char(anyByte(random))) : pick == 1 ? latin1(anyLatin1Letter(random)) : common[commonCharacter(random)];
    }
    return text;
}

// Two texts alike but for their accents and case, so that the accents decide: each place holds
// "a", "c", "e", "o" or "1" in some accented or cased form.
std::pair<std::string, std::string> twinTexts(std::mt19937& random)
{
    static const std::vector<std::vector<std::string>> forms {
        { "a", "A", latin1(0xE0), latin1(0xE1), latin1(0xE2), latin1(0xE3), latin1(0xE4), latin1(0xE5), latin1(0xC1) },
        { "c", "C", latin1(0xE7), latin1(0xC7) },
        { "e", "E", latin1(0xE8), latin1(0xE9), latin1(0xEA), latin1(0xEB), latin1(0xC9) },
        { "o", "O", latin1(0xF2), latin1(0xF3), latin1(0xF4), latin1(0xF5), latin1(0xF6), latin1(0xD5) },
        { "1", "01", "001" },
    };
    std::uniform_int_distribution<int> length(1, 6);
    std::uniform_int_distribution<std::size_t> place(0, forms.size() - 1);
    std::pair<std::string, std::string> twins;
    for (int n = length(random); n > 0; --n) {
        const auto& choices = forms[place(random)];
        std::uniform_int_distribution<std::size_t> form(0, choices.size() - 1);
        twins.first += choices[form(random)];
        twins.second += choices[form(random)];
    }
    return twins;
}

TEST(LatinCollation, EveryPairOfCharactersIsOrderedAsIcuOrdersIt)
{
    const IcuOrder icu("");
    std::vector<std::string> characters;
    for (int c = 0; c < 128; ++c)
        characters.emplace_back(1, char(c));
    for (int c = 0xC0; c <= 0xFF; ++c)
        characters.push_back(latin1(c));
    for (const std::string& x : characters) {
        for (const std::string& y : characters) {
            const std::optional<int> order = detail::latinCollation(x, y);
            if (!order) // a letter of its own, such as "ß" or "Æ"
                continue;
            ASSERT_EQ(order, sign(icu(x, y))) << x << " " << y;
            ASSERT_EQ(detail::latinCollation("a" + x + "1", "a" + y + "01"), sign(icu("a" + x + "1", "a" + y + "01"))) << x << " " << y;
            ASSERT_EQ(detail::latinCollation("e" + x + "e", "e" + y + "\xc3\xa9"), sign(icu("e" + x + "e", "e" + y + "\xc3\xa9"))) << x << " " << y;
        }
    }
}

TEST(LatinCollation, RandomTitlesAreOrderedAsIcuOrdersThemInEveryLocaleItServes)
{
    std::mt19937 random(20261125);
    for (const char* locale : { "", "en", "en_US", "en_GB", "en_CA", "en_AU", "pt", "pt_BR", "pt_PT" }) {
        SCOPED_TRACE(locale);
        const IcuOrder icu(locale);
        const TitleCollator titles(locale);
        for (int i = 0; i < 100000; ++i) {
            auto [a, b] = twinTexts(random);
            if (i % 3 == 0)
                b = a + randomText(random);
            else if (i % 3 == 1)
                std::tie(a, b) = std::pair { randomText(random), randomText(random) };
            const std::optional<int> order = detail::latinCollation(a, b);
            if (order) {
                ASSERT_EQ(*order, sign(icu(a, b))) << '"' << a << "\" \"" << b << '"';
            }
            ASSERT_EQ(sign(titles.compare(a, b)), sign(icu(a, b))) << '"' << a << "\" \"" << b << '"';
        }
    }
}

TEST(LatinCollation, NumbersCountByValueWhateverTheirZeros)
{
    const IcuOrder icu("");
    for (const auto& [a, b] : std::vector<std::pair<std::string, std::string>> {
             { "svc 2", "svc 10" }, { "007", "7" }, { "0", "00" }, { "x0", "x" }, { "a-1", "a1" }, { "v1.10", "v1.9" },
             { "99999999999999999999999", "100000000000000000000000" }, { std::string(199, '9'), "1" + std::string(199, '0') } }) {
        EXPECT_EQ(detail::latinCollation(a, b), sign(icu(a, b))) << a << " " << b;
    }
    EXPECT_LT(*detail::latinCollation("svc 2", "svc 10"), 0);
    EXPECT_EQ(*detail::latinCollation("007", "7"), 0);
}

TEST(LatinCollation, AccentsDecideOnlyBetweenTextsOtherwiseAlike)
{
    // As English orders them: cote, coté, côte, côté.
    const std::vector<std::string> inOrder { "cote", "cot\xc3\xa9", "c\xc3\xb4te", "c\xc3\xb4t\xc3\xa9", "cotes" };
    for (std::size_t i = 0; i + 1 < inOrder.size(); ++i)
        EXPECT_EQ(detail::latinCollation(inOrder[i], inOrder[i + 1]), -1) << inOrder[i] << " " << inOrder[i + 1];
    EXPECT_EQ(detail::latinCollation("Produ\xc3\xa7\xc3\xa3o", "PRODU\xc3\x87\xc3\x83O"), 0);
    EXPECT_EQ(detail::latinCollation("Produ\xc3\xa7\xc3\xa3o", "producao"), 1);
}

TEST(LatinCollation, LeavesToIcuWhatItCannotAnswer)
{
    EXPECT_EQ(detail::latinCollation("stra\xc3\x9f" "e", "strasse"), std::nullopt); // ß
    EXPECT_EQ(detail::latinCollation("\xc3\xa6", "ae"), std::nullopt); // æ
    EXPECT_EQ(detail::latinCollation("e\xcc\x81", "e"), std::nullopt); // e and a combining acute
    EXPECT_EQ(detail::latinCollation("a\xc2\xa0" "b", "a b"), std::nullopt); // a no-break space
    EXPECT_EQ(detail::latinCollation("caf\xc3", "cafe"), std::nullopt); // a cut character
    EXPECT_EQ(detail::latinCollation("a", "\x80"), std::nullopt);
    EXPECT_EQ(detail::latinCollation(std::string(201, '1'), "1"), std::nullopt);
    EXPECT_NE(detail::latinCollation(std::string(200, '1'), "1"), std::nullopt);
}

TEST(LatinCollation, TitlesInTailoredLocalesOrWithOtherLettersStillSortAsIcuSorts)
{
    // "ch" is a letter of its own in Czech, after "h".
    const TitleCollator czech("cs_CZ.UTF-8");
    EXPECT_GT(czech.compare("chata", "hrad"), 0);
    const TitleCollator brazilian("pt_BR.UTF-8");
    EXPECT_LT(brazilian.compare("cafe", "caf\xc3\xa9"), 0);
    EXPECT_LT(brazilian.compare("caf\xc3\xa9", "cafes"), 0);
    EXPECT_EQ(brazilian.compare("Web", "web"), 0);
    const IcuOrder icu("pt_BR");
    for (const auto& [a, b] : std::vector<std::pair<std::string, std::string>> {
             { "stra\xc3\x9f" "e", "strasse" }, { "stra\xc3\x9f" "e", "strast" }, { "\xc3\xa6on", "aeon" }, { "\xce\xb1", "\xce\xb2" } })
        EXPECT_EQ(sign(brazilian.compare(a, b)), sign(icu(a, b))) << a << " " << b;
}

}
}
