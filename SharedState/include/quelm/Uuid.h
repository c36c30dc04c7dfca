// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quelm {

// A 128-bit identifier. Its text is the canonical 8-4-4-4-12 form in upper-case hexadecimal;
// parsing also accepts lower case. `Uuid::random()` makes a version-4 identifier.
class Uuid {
public:
    using Bytes = std::array<std::uint8_t, 16>;

    constexpr Uuid() = default;
    constexpr explicit Uuid(const Bytes& bytes)
        : m_bytes(bytes)
    {
    }

    static Uuid random();
    static std::optional<Uuid> parse(std::string_view text);

    std::string string() const;
    constexpr const Bytes& bytes() const { return m_bytes; }

    constexpr bool operator==(const Uuid&) const = default;
    constexpr auto operator<=>(const Uuid&) const = default;

private:
    Bytes m_bytes {};
};

}
