// SPDX-License-Identifier: MIT
#include <quelm/Uuid.h>

#include <HexDigit.h>

#include <uuid/uuid.h>

namespace quelm {

namespace {

constexpr bool isHyphenPosition(std::size_t i)
{
    return i == 8 || i == 13 || i == 18 || i == 23;
}

}

Uuid Uuid::random()
{
    uuid_t raw;
    uuid_generate_random(raw);
    Bytes bytes;
    std::copy(std::begin(raw), std::end(raw), bytes.begin());
    return Uuid(bytes);
}

std::optional<Uuid> Uuid::parse(std::string_view text)
{
    if (text.size() != 36)
        return std::nullopt;
    Bytes bytes {};
    std::size_t nibble = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isHyphenPosition(i)) {
            if (text[i] != '-')
                return std::nullopt;
            continue;
        }
        int value = detail::hexDigitValue(text[i]);
        if (value < 0)
            return std::nullopt;
        bytes[nibble / 2] |= static_cast<std::uint8_t>(nibble % 2 == 0 ? value << 4 : value);
        ++nibble;
    }
    return Uuid(bytes);
}

std::string Uuid::string() const
{
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(36);
    for (std::size_t i = 0; i < m_bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            text.push_back('-');
        text.push_back(digits[m_bytes[i] >> 4]);
        text.push_back(digits[m_bytes[i] & 0xF]);
    }
    return text;
}

}
