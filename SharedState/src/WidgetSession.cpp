// SPDX-License-Identifier: MIT
#include <quelm/WidgetSession.h>

#include "Hashing.h"

#include <array>

namespace quelm {

namespace {

constexpr std::array<std::string_view, 3> stateNames { "working", "needsApproval", "waitingForInput" };

// The characters a URL path keeps as they are.
bool isPathCharacter(unsigned char c)
{
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))
        return true;
    return std::string_view("!$&'()*+,-./:=_~@").find(static_cast<char>(c)) != std::string_view::npos;
}

bool isValidUtf8(std::string_view text)
{
    std::size_t i = 0;
    while (i < text.size()) {
        auto lead = static_cast<unsigned char>(text[i]);
        std::size_t length;
        char32_t codePoint;
        if (lead < 0x80) {
            ++i;
            continue;
        } else if ((lead & 0xE0) == 0xC0) {
            length = 2;
            codePoint = lead & 0x1F;
        } else if ((lead & 0xF0) == 0xE0) {
            length = 3;
            codePoint = lead & 0x0F;
        } else if ((lead & 0xF8) == 0xF0) {
            length = 4;
            codePoint = lead & 0x07;
        } else {
            return false;
        }
        if (i + length > text.size())
            return false;
        for (std::size_t k = 1; k < length; ++k) {
            auto continuation = static_cast<unsigned char>(text[i + k]);
            if ((continuation & 0xC0) != 0x80)
                return false;
            codePoint = (codePoint << 6) | (continuation & 0x3F);
        }
        static constexpr char32_t smallestOfLength[] = { 0, 0, 0x80, 0x800, 0x10000 };
        if (codePoint < smallestOfLength[length] || codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF))
            return false;
        i += length;
    }
    return true;
}

}

std::optional<std::string> WidgetSession::url() const
{
    if (!isValidUtf8(id))
        return std::nullopt;
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string url = "quelm://session/";
    for (char c : id) {
        auto byte = static_cast<unsigned char>(c);
        if (isPathCharacter(byte)) {
            url.push_back(c);
        } else {
            url.push_back('%');
            url.push_back(hex[byte >> 4]);
            url.push_back(hex[byte & 0xF]);
        }
    }
    return url;
}

std::string_view rawValue(WidgetSession::State state)
{
    return stateNames[static_cast<std::size_t>(state)];
}

template<>
std::optional<WidgetSession::State> fromRawValue<WidgetSession::State>(std::string_view raw)
{
    for (std::size_t i = 0; i < stateNames.size(); ++i) {
        if (stateNames[i] == raw)
            return static_cast<WidgetSession::State>(i);
    }
    return std::nullopt;
}

}

std::size_t std::hash<quelm::WidgetSession>::operator()(const quelm::WidgetSession& session) const noexcept
{
    quelm::detail::HashBuilder builder;
    builder.add(session.id).add(session.title).add(session.project).add(quelm::rawValue(session.state));
    return builder.result();
}
