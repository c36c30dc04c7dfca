// SPDX-License-Identifier: MIT
#include "Layout/AsciiCollation.h"

#include <array>
#include <cstdint>

namespace quelm::detail {

namespace {

// ICU splits longer runs of digits into several numbers; no title needs that.
constexpr std::size_t longestNumber = 200;

// ICU's root order of the ASCII characters that are neither digits nor letters.
constexpr std::string_view symbolOrder = "\t\n\v\f\r _-,;:!?.'\"()[]{}@*/\\&#%`^+<=>|~$";

constexpr std::uint8_t ignorable = 0;
constexpr std::uint8_t digit = 0xFE;
constexpr std::uint8_t notAscii = 0xFF;

// The rank of each byte: equal ranks collate alike; digits come between the symbols and the letters.
constexpr std::array<std::uint8_t, 256> ranks = [] {
    std::array<std::uint8_t, 256> table {};
    for (std::size_t byte = 0x80; byte < table.size(); ++byte)
        table[byte] = notAscii;
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

constexpr std::uint8_t numberRank = static_cast<std::uint8_t>(symbolOrder.size() + 1);

// One collation element: a character's rank, or a number (its digits without leading zeros).
struct Element {
    std::uint8_t rank = 0;
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
            const std::uint8_t rank = ranks[static_cast<unsigned char>(m_text[m_at])];
            if (rank == ignorable) {
                ++m_at;
                continue;
            }
            if (rank != digit) {
                element = { rank, {} };
                ++m_at;
                return true;
            }
            std::size_t end = m_at;
            while (end < m_text.size() && ranks[static_cast<unsigned char>(m_text[end])] == digit)
                ++end;
            std::size_t start = m_at;
            while (start + 1 < end && m_text[start] == '0')
                ++start;
            element = { numberRank, m_text.substr(start, end - start) };
            m_at = end;
            return true;
        }
        return false;
    }

private:
    std::string_view m_text;
    std::size_t m_at = 0;
};

bool collatable(std::string_view text)
{
    std::size_t digits = 0;
    for (const char c : text) {
        const std::uint8_t rank = ranks[static_cast<unsigned char>(c)];
        if (rank == notAscii)
            return false;
        digits = rank == digit ? digits + 1 : 0;
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

}

std::optional<int> asciiCollation(std::string_view a, std::string_view b)
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
        if (!moreLeft || !moreRight)
            return int(moreLeft) - int(moreRight);
        if (x.rank != y.rank)
            return x.rank < y.rank ? -1 : 1;
        if (x.rank == numberRank) {
            if (const int order = compareNumbers(x.digits, y.digits))
                return order;
        }
    }
}

}
