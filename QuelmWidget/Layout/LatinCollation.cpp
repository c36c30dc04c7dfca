// SPDX-License-Identifier: MIT
#include "Layout/LatinCollation.h"

#include <array>
#include <cstdint>
#include <vector>

namespace quelm::detail {

namespace {

// ICU splits longer runs of digits into several numbers; no title needs that.
constexpr std::size_t longestNumber = 200;

// ICU's root order of the ASCII characters that are neither digits nor letters.
constexpr std::string_view symbolOrder = "\t\n\v\f\r _-,;:!?.'\"()[]{}@*/\\&#%`^+<=>|~$";

constexpr std::uint8_t ignorable = 0;
constexpr std::uint8_t numberRank = static_cast<std::uint8_t>(symbolOrder.size() + 1);
constexpr std::uint8_t digit = 0xFE;
constexpr std::uint8_t unknown = 0xFF;

// The rank of each ASCII byte: equal ranks collate alike; numbers come between the symbols and
// the letters.
constexpr std::array<std::uint8_t, 128> ranks = [] {
    std::array<std::uint8_t, 128> table {};
    std::uint8_t rank = 1;
    for (const char symbol : symbolOrder)
        table[static_cast<unsigned char>(symbol)] = rank++;
    ++rank; // numbers
    for (char c = '0'; c <= '9'; ++c)
        table[static_cast<unsigned char>(c)] = digit;
    for (char c = 'a'; c <= 'z'; ++c) {
        table[static_cast<unsigned char>(c)] = rank;
        table[static_cast<unsigned char>(c - 'a' + 'A')] = rank++;
    }
    return table;
}();

// The accents of Latin-1's letters, in ICU's order of their weights: a letter without one comes
// first, then acute, grave, circumflex, ring, diaeresis, tilde, cedilla.
enum Accent : std::uint8_t { none, acute, grave, circumflex, ring, diaeresis, tilde, cedilla };

struct AccentedLetter {
    char base; // 0: a letter of its own (Æ, Ð, Ø, Þ, ß) or no letter (×, ÷), left to ICU
    Accent accent;
};

// U+00C0 to U+00FF: "À" is "A" with a grave accent, and so on.
constexpr std::array<AccentedLetter, 64> latin1Letters { {
    { 'a', grave }, { 'a', acute }, { 'a', circumflex }, { 'a', tilde }, { 'a', diaeresis }, { 'a', ring }, { 0, none }, { 'c', cedilla },
    { 'e', grave }, { 'e', acute }, { 'e', circumflex }, { 'e', diaeresis }, { 'i', grave }, { 'i', acute }, { 'i', circumflex }, { 'i', diaeresis },
    { 0, none }, { 'n', tilde }, { 'o', grave }, { 'o', acute }, { 'o', circumflex }, { 'o', tilde }, { 'o', diaeresis }, { 0, none },
    { 0, none }, { 'u', grave }, { 'u', acute }, { 'u', circumflex }, { 'u', diaeresis }, { 'y', acute }, { 0, none }, { 0, none },
    { 'a', grave }, { 'a', acute }, { 'a', circumflex }, { 'a', tilde }, { 'a', diaeresis }, { 'a', ring }, { 0, none }, { 'c', cedilla },
    { 'e', grave }, { 'e', acute }, { 'e', circumflex }, { 'e', diaeresis }, { 'i', grave }, { 'i', acute }, { 'i', circumflex }, { 'i', diaeresis },
    { 0, none }, { 'n', tilde }, { 'o', grave }, { 'o', acute }, { 'o', circumflex }, { 'o', tilde }, { 'o', diaeresis }, { 0, none },
    { 0, none }, { 'u', grave }, { 'u', acute }, { 'u', circumflex }, { 'u', diaeresis }, { 'y', acute }, { 0, none }, { 'y', diaeresis },
} };

// One collation element: a character's rank and accent, or a number (its digits without
// leading zeros).
struct Element {
    std::uint8_t rank = 0;
    Accent accent = none;
    std::string_view digits;
};

class Elements {
public:
    explicit Elements(std::string_view text)
        : m_text(text)
    {
    }

    // The next element into `element`; false at the end of the text.
    bool next(Element& element)
    {
        while (m_at < m_text.size()) {
            const auto byte = static_cast<unsigned char>(m_text[m_at]);
            if (byte == 0xC3) {
                const AccentedLetter letter = latin1Letters[static_cast<unsigned char>(m_text[m_at + 1]) - 0x80];
                element = { ranks[static_cast<unsigned char>(letter.base)], letter.accent, {} };
                m_at += 2;
                return true;
            }
            const std::uint8_t rank = ranks[byte];
            if (rank == ignorable) {
                ++m_at;
                continue;
            }
            if (rank != digit) {
                element = { rank, none, {} };
                ++m_at;
                return true;
            }
            std::size_t end = m_at;
            while (end < m_text.size() && m_text[end] >= '0' && m_text[end] <= '9')
                ++end;
            std::size_t start = m_at;
            while (start + 1 < end && m_text[start] == '0')
                ++start;
            element = { numberRank, none, m_text.substr(start, end - start) };
            m_at = end;
            return true;
        }
        return false;
    }

private:
    std::string_view m_text;
    std::size_t m_at = 0;
};

// Whether every character of `text` is one that the elements above know, and every number short
// enough.
bool collatable(std::string_view text)
{
    std::size_t digits = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte >= 0x80) {
            if (byte != 0xC3 || i + 1 == text.size())
                return false;
            const auto next = static_cast<unsigned char>(text[++i]);
            if (next < 0x80 || next > 0xBF || latin1Letters[next - 0x80].base == 0)
                return false;
            digits = 0;
            continue;
        }
        digits = ranks[byte] == digit ? digits + 1 : 0;
        if (digits > longestNumber)
            return false;
    }
    return true;
}

int compareNumbers(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return a.size() < b.size() ? -1 : 1;
    const int order = a.compare(b);
    return (order > 0) - (order < 0);
}

// The weights that accents give, in the order ICU compares them: each element's own (none), then
// its accent's when it has one. Only texts alike but for their accents get this far.
std::vector<std::uint8_t> accentWeights(std::string_view text)
{
    std::vector<std::uint8_t> weights;
    Elements elements(text);
    Element element;
    while (elements.next(element)) {
        weights.push_back(none);
        if (element.accent != none)
            weights.push_back(element.accent);
    }
    return weights;
}

}

std::optional<int> latinCollation(std::string_view a, std::string_view b)
{
    if (!collatable(a) || !collatable(b))
        return std::nullopt;
    Elements left(a);
    Elements right(b);
    for (;;) {
        Element x;
        Element y;
        const bool moreLeft = left.next(x);
        const bool moreRight = right.next(y);
        if (!moreLeft || !moreRight) {
            if (moreLeft != moreRight)
                return int(moreLeft) - int(moreRight);
            break;
        }
        if (x.rank != y.rank)
            return x.rank < y.rank ? -1 : 1;
        if (x.rank == numberRank) {
            if (const int order = compareNumbers(x.digits, y.digits))
                return order;
        }
    }
    const std::vector<std::uint8_t> accentsOfA = accentWeights(a);
    const std::vector<std::uint8_t> accentsOfB = accentWeights(b);
    if (accentsOfA == accentsOfB)
        return 0;
    return accentsOfA < accentsOfB ? -1 : 1;
}

}
