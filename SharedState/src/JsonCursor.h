// SPDX-License-Identifier: MIT
#pragma once

// Reads a JSON document value by value, straight from its bytes: nothing of the document is kept
// but what the caller takes out of it. `peek()` tells what comes next, the read… calls consume
// one value each, `skipValue()` consumes and checks one without keeping it. Whatever is not JSON
// (by the rules nlohmann/json reads it, including a leading byte-order mark and a NUL byte ending
// the input) throws MalformedJson; so does nesting deeper than the cursor's limit.

#include "PageBuffer.h"

#include <HexDigit.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <locale.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace quelm::detail {

// Not JSON, or nested too deeply: the cursor cannot go on.
struct MalformedJson { };

// The cursor was asked to look again at bytes it had given back: only a read of the whole
// document again can tell what is wrong with it.
struct BytesGivenBack { };

// A number as the text spelled it: an integer that fits 64 bits keeps its sign's kind, anything
// else (a fraction, an exponent, an integer too large) is a double.
struct JsonNumber {
    enum class Kind {
        negative,
        unsignedInteger,
        floating,
    };
    Kind kind = Kind::unsignedInteger;
    std::int64_t negativeValue = 0;
    std::uint64_t unsignedValue = 0;
    double floatingValue = 0;

    double asDouble() const
    {
        switch (kind) {
        case Kind::negative:
            return static_cast<double>(negativeValue);
        case Kind::unsignedInteger:
            return static_cast<double>(unsignedValue);
        case Kind::floating:
            break;
        }
        return floatingValue;
    }
};

class JsonCursor {
public:
    enum class Kind {
        object,
        array,
        string,
        number,
        boolean,
        null,
    };

    // Where the cursor stands, to come back to.
    struct Mark {
        const char* position;
        int depth;
    };

    // With `pages`, the buffer that holds `text`, the cursor gives back what it read at each
    // `giveBackConsumed` and refuses to come back to it (`rewind` throws BytesGivenBack).
    JsonCursor(std::string_view text, int maximumDepth, PageBuffer* pages = nullptr)
        : m_position(text.data())
        , m_end(text.data() + text.size())
        , m_maximumDepth(maximumDepth)
        , m_pages(pages)
    {
        // A byte-order mark may open the document, and only a whole one.
        if (m_position != m_end && static_cast<unsigned char>(*m_position) == 0xEF) {
            if (m_end - m_position < 3 || static_cast<unsigned char>(m_position[1]) != 0xBB
                || static_cast<unsigned char>(m_position[2]) != 0xBF)
                malformed();
            m_position += 3;
        }
    }

    Mark mark() const { return { m_position, m_depth }; }
    void rewind(Mark mark)
    {
        if (m_pages && mark.position < m_pages->keptFrom())
            throw BytesGivenBack();
        m_position = mark.position;
        m_depth = mark.depth;
    }

    // The kind of the next value; throws when no value can start there.
    Kind peek()
    {
        const auto kind = kindStartedBy[static_cast<unsigned char>(nextSignificant())];
        if (kind == noValue)
            malformed();
        return static_cast<Kind>(kind);
    }

    // Between values: nothing before the cursor will be looked at again.
    void giveBackConsumed()
    {
        if (m_pages)
            m_pages->releaseBefore(m_position);
    }

    // Only blanks, or a NUL byte, follow.
    void expectEnd()
    {
        if (nextSignificant() != '\0')
            malformed();
    }
    // What lies after the NUL byte that ended the document (empty when none did).
    std::string_view rest() const { return { m_position, static_cast<std::size_t>(m_end - m_position) }; }

    // Objects and arrays: `begin…` consumes the opening bracket, then `next…` tells whether another
    // member or element follows (consuming its comma) or consumes the closing bracket.
    void beginObject() { enter('{'); }
    bool nextMember(bool first) { return next('}', first); }
    void beginArray() { enter('['); }
    bool nextElement(bool first) { return next(']', first); }

    // A member's key and its colon. The view stays valid until the next key is read with the same
    // `scratch`.
    std::string_view readKey(std::string& scratch)
    {
        if (nextSignificant() != '"')
            malformed();
        std::string_view key;
        if (!readPlainString(key)) {
            scratch.clear();
            readEscapedString(scratch);
            key = scratch;
        }
        if (nextSignificant() != ':')
            malformed();
        ++m_position;
        return key;
    }

    void readString(std::string& value)
    {
        nextSignificant();
        std::string_view plain;
        if (readPlainString(plain)) {
            value.assign(plain);
            return;
        }
        value.clear();
        readEscapedString(value);
    }

    bool readBoolean()
    {
        if (nextSignificant() == 't') {
            literal("true");
            return true;
        }
        literal("false");
        return false;
    }

    void readNull()
    {
        nextSignificant();
        literal("null");
    }

    JsonNumber readNumber()
    {
        nextSignificant();
        const char* start = m_position;
        bool negative = false;
        if (m_position != m_end && *m_position == '-') {
            negative = true;
            ++m_position;
        }
        const char* digits = m_position;
        if (m_position == m_end || !isDigit(*m_position))
            malformed();
        if (*m_position == '0') {
            ++m_position;
        } else {
            while (m_position != m_end && isDigit(*m_position))
                ++m_position;
        }
        const char* digitsEnd = m_position;
        bool integral = true;
        if (m_position != m_end && *m_position == '.') {
            integral = false;
            ++m_position;
            expectDigits();
        }
        if (m_position != m_end && (*m_position == 'e' || *m_position == 'E')) {
            integral = false;
            ++m_position;
            if (m_position != m_end && (*m_position == '+' || *m_position == '-'))
                ++m_position;
            expectDigits();
        }

        JsonNumber number;
        if (integral && digitsEnd - digits <= 20) {
            std::uint64_t value = 0;
            bool overflow = false;
            for (const char* p = digits; p != digitsEnd; ++p) {
                const auto digit = static_cast<std::uint64_t>(*p - '0');
                if (value > (UINT64_MAX - digit) / 10) {
                    overflow = true;
                    break;
                }
                value = value * 10 + digit;
            }
            if (!overflow && !negative) {
                number.kind = JsonNumber::Kind::unsignedInteger;
                number.unsignedValue = value;
                return number;
            }
            if (!overflow && value <= std::uint64_t(INT64_MAX) + 1) {
                number.kind = JsonNumber::Kind::negative;
                number.negativeValue = value == std::uint64_t(INT64_MAX) + 1 ? INT64_MIN : -static_cast<std::int64_t>(value);
                return number;
            }
        }
        // Too large for an integer, or not one: a double, and one that exists.
        number.kind = JsonNumber::Kind::floating;
        number.floatingValue = parseDouble(start, m_position);
        return number;
    }

    // Consumes one value of any kind, checking it whole.
    void skipValue()
    {
        switch (peek()) {
        case Kind::object:
            beginObject();
            for (bool first = true; nextMember(first); first = false) {
                skipString();
                if (nextSignificant() != ':')
                    malformed();
                ++m_position;
                skipValue();
            }
            return;
        case Kind::array:
            beginArray();
            for (bool first = true; nextElement(first); first = false)
                skipValue();
            return;
        case Kind::string:
            skipString();
            return;
        case Kind::number:
            readNumber();
            return;
        case Kind::boolean:
            readBoolean();
            return;
        case Kind::null:
            readNull();
            return;
        }
    }

    // The bytes left, for sizing what will be read from them.
    std::size_t remaining() const { return static_cast<std::size_t>(m_end - m_position); }

private:
    [[noreturn, gnu::cold, gnu::noinline]] static void malformed() { throw MalformedJson {}; }

    static bool isDigit(char c) { return c >= '0' && c <= '9'; }
    static bool isBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

    // Skips blanks; the next byte, or NUL at the end (where the parser we follow also stops).
    char nextSignificant()
    {
        // Compact documents have no blanks at all.
        if (m_position != m_end && static_cast<unsigned char>(*m_position) > ' ')
            return *m_position;
        while (m_position != m_end && isBlank(*m_position))
            ++m_position;
        return m_position == m_end ? '\0' : *m_position;
    }

    static constexpr unsigned char noValue = 0xFF;
    // The kind of value each first byte starts.
    static constexpr auto kindStartedBy = [] {
        std::array<unsigned char, 256> kinds {};
        kinds.fill(noValue);
        kinds['{'] = static_cast<unsigned char>(Kind::object);
        kinds['['] = static_cast<unsigned char>(Kind::array);
        kinds['"'] = static_cast<unsigned char>(Kind::string);
        kinds['t'] = kinds['f'] = static_cast<unsigned char>(Kind::boolean);
        kinds['n'] = static_cast<unsigned char>(Kind::null);
        kinds['-'] = static_cast<unsigned char>(Kind::number);
        for (char digit = '0'; digit <= '9'; ++digit)
            kinds[static_cast<unsigned char>(digit)] = static_cast<unsigned char>(Kind::number);
        return kinds;
    }();

    void enter(char bracket)
    {
        if (nextSignificant() != bracket)
            malformed();
        ++m_position;
        if (++m_depth > m_maximumDepth)
            malformed();
    }

    bool next(char closing, bool first)
    {
        const char c = nextSignificant();
        if (c == closing) {
            ++m_position;
            --m_depth;
            return false;
        }
        if (!first) {
            if (c != ',')
                malformed();
            ++m_position;
        }
        return true;
    }

    void literal(std::string_view word)
    {
        if (static_cast<std::size_t>(m_end - m_position) < word.size() || std::memcmp(m_position, word.data(), word.size()) != 0)
            malformed();
        m_position += word.size();
    }

    void expectDigits()
    {
        if (m_position == m_end || !isDigit(*m_position))
            malformed();
        while (m_position != m_end && isDigit(*m_position))
            ++m_position;
    }

    static double parseDouble(const char* begin, const char* end)
    {
        double value = 0;
        auto [stop, error] = std::from_chars(begin, end, value);
        if (error == std::errc() && stop == end)
            return value;
        // Out of range: a number too small reads as zero or a subnormal, as strtod gives it; one
        // too large is no number at all. Independent of the process's locale.
        static const locale_t cLocale = ::newlocale(LC_ALL_MASK, "C", locale_t(nullptr));
        const std::string text(begin, end);
        char* textEnd = nullptr;
        value = ::strtod_l(text.c_str(), &textEnd, cLocale);
        if (!std::isfinite(value))
            malformed();
        return value;
    }

    // At an opening quote: a string of printable ASCII without escapes is taken as a view of the
    // bytes and consumed; any other string is left for readEscapedString.
    bool readPlainString(std::string_view& value)
    {
        const char* begin = m_position + 1;
        const char* p = begin;
#if defined(__SSE2__)
        // Sixteen bytes at a time: the first quote, backslash, control character or byte outside
        // ASCII (the last two both less than a space, taken as signed) ends the scan.
        while (m_end - p >= 16) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
            const __m128i special = _mm_or_si128(
                _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('"')), _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'))),
                _mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20)));
            if (const int mask = _mm_movemask_epi8(special)) {
                p += __builtin_ctz(static_cast<unsigned>(mask));
                if (*p != '"')
                    return false;
                value = std::string_view(begin, static_cast<std::size_t>(p - begin));
                m_position = p + 1;
                return true;
            }
            p += 16;
        }
#else
        // Eight bytes at a time while none of them is a quote, a backslash, a control character
        // or outside ASCII.
        constexpr std::uint64_t ones = 0x0101010101010101;
        constexpr std::uint64_t highBits = 0x8080808080808080;
        while (m_end - p >= 8) {
            std::uint64_t word;
            std::memcpy(&word, p, 8);
            const std::uint64_t quote = word ^ (ones * '"');
            const std::uint64_t backslash = word ^ (ones * '\\');
            const std::uint64_t special = (quote - ones) | (backslash - ones) | (word - ones * 0x20) | word;
            if (special & highBits)
                break;
            p += 8;
        }
#endif
        for (; p != m_end; ++p) {
            const auto c = static_cast<unsigned char>(*p);
            if (c == '"') {
                value = std::string_view(begin, static_cast<std::size_t>(p - begin));
                m_position = p + 1;
                return true;
            }
            if (c == '\\' || c < 0x20 || c >= 0x80)
                return false;
        }
        malformed();
    }

    void skipString()
    {
        if (nextSignificant() != '"')
            malformed();
        std::string_view ignored;
        if (!readPlainString(ignored))
            m_position = scanString(m_position + 1, nullptr);
    }

    // At an opening quote: checks the string, then appends it, unescaped, to `value`.
    void readEscapedString(std::string& value)
    {
        std::size_t length = 0;
        const char* end = scanString(m_position + 1, &length);
        value.reserve(value.size() + length);
        unescape(m_position + 1, end - 1, value);
        m_position = end;
    }

    // The four hex digits of an escape after "\u", or -1.
    static long codeUnit(const char* p, const char* end)
    {
        if (end - p < 4)
            return -1;
        long unit = 0;
        for (int i = 0; i < 4; ++i) {
            const int digit = hexDigitValue(p[i]);
            if (digit < 0)
                return -1;
            unit = unit * 16 + digit;
        }
        return unit;
    }

    static bool isContinuation(const char* p, const char* end, unsigned char low = 0x80, unsigned char high = 0xBF)
    {
        if (p == end)
            return false;
        const auto c = static_cast<unsigned char>(*p);
        return c >= low && c <= high;
    }

    // Checks the string whose contents start at `p`; returns the position after its closing quote
    // and adds the length of its unescaped bytes to `length`.
    const char* scanString(const char* p, std::size_t* length) const
    {
        std::size_t count = 0;
        while (p != m_end) {
            const auto c = static_cast<unsigned char>(*p);
            if (c == '"') {
                if (length)
                    *length += count;
                return p + 1;
            }
            if (c < 0x20)
                malformed();
            if (c == '\\') {
                ++p;
                if (p == m_end)
                    malformed();
                switch (*p) {
                case '"':
                case '\\':
                case '/':
                case 'b':
                case 'f':
                case 'n':
                case 'r':
                case 't':
                    ++p;
                    ++count;
                    continue;
                case 'u':
                    break;
                default:
                    malformed();
                }
                long unit = codeUnit(p + 1, m_end);
                p += 5;
                if (unit < 0 || (unit >= 0xDC00 && unit <= 0xDFFF))
                    malformed();
                if (unit >= 0xD800 && unit <= 0xDBFF) {
                    // Only with its low half.
                    if (m_end - p < 2 || p[0] != '\\' || p[1] != 'u')
                        malformed();
                    const long low = codeUnit(p + 2, m_end);
                    if (low < 0xDC00 || low > 0xDFFF)
                        malformed();
                    p += 6;
                    count += 4;
                } else {
                    count += unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
                }
                continue;
            }
            if (c < 0x80) {
                ++p;
                ++count;
                continue;
            }
            // Well-formed UTF-8 only: no overlong forms, no surrogates, nothing past U+10FFFF.
            std::size_t size;
            if (c >= 0xC2 && c <= 0xDF) {
                size = 2;
                if (!isContinuation(p + 1, m_end))
                    malformed();
            } else if (c >= 0xE0 && c <= 0xEF) {
                size = 3;
                const unsigned char low = c == 0xE0 ? 0xA0 : 0x80;
                const unsigned char high = c == 0xED ? 0x9F : 0xBF;
                if (!isContinuation(p + 1, m_end, low, high) || !isContinuation(p + 2, m_end))
                    malformed();
            } else if (c >= 0xF0 && c <= 0xF4) {
                size = 4;
                const unsigned char low = c == 0xF0 ? 0x90 : 0x80;
                const unsigned char high = c == 0xF4 ? 0x8F : 0xBF;
                if (!isContinuation(p + 1, m_end, low, high) || !isContinuation(p + 2, m_end) || !isContinuation(p + 3, m_end))
                    malformed();
            } else {
                malformed();
            }
            p += size;
            count += size;
        }
        malformed();
    }

    static void appendUtf8(std::string& value, unsigned long codePoint)
    {
        if (codePoint < 0x80) {
            value += static_cast<char>(codePoint);
        } else if (codePoint < 0x800) {
            value += static_cast<char>(0xC0 | (codePoint >> 6));
            value += static_cast<char>(0x80 | (codePoint & 0x3F));
        } else if (codePoint < 0x10000) {
            value += static_cast<char>(0xE0 | (codePoint >> 12));
            value += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
            value += static_cast<char>(0x80 | (codePoint & 0x3F));
        } else {
            value += static_cast<char>(0xF0 | (codePoint >> 18));
            value += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
            value += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
            value += static_cast<char>(0x80 | (codePoint & 0x3F));
        }
    }

    // Appends the contents of a string scanString has checked, from `p` up to its closing quote.
    static void unescape(const char* p, const char* quote, std::string& value)
    {
        while (p != quote) {
            const char* run = p;
            while (p != quote && *p != '\\')
                ++p;
            value.append(run, static_cast<std::size_t>(p - run));
            if (p == quote)
                return;
            ++p;
            switch (*p++) {
            case 'b':
                value += '\b';
                break;
            case 'f':
                value += '\f';
                break;
            case 'n':
                value += '\n';
                break;
            case 'r':
                value += '\r';
                break;
            case 't':
                value += '\t';
                break;
            case 'u': {
                auto unit = static_cast<unsigned long>(codeUnit(p, quote));
                p += 4;
                if (unit >= 0xD800 && unit <= 0xDBFF) {
                    const auto low = static_cast<unsigned long>(codeUnit(p + 2, quote));
                    p += 6;
                    unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
                }
                appendUtf8(value, unit);
                break;
            }
            default: // '"', '\\' and '/' stand for themselves
                value += p[-1];
                break;
            }
        }
    }

    const char* m_position;
    const char* m_end;
    int m_depth = 0;
    int m_maximumDepth;
    PageBuffer* m_pages;
};

}
