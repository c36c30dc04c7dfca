// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>

namespace quelm::detail {

// Folds one more value into a running hash (the 64-bit variant of boost::hash_combine).
class HashBuilder {
public:
    template<class T>
    HashBuilder& add(const T& value)
    {
        mix(std::hash<T> {}(value));
        return *this;
    }

    // An absent and a present optional must not collide, so presence goes in first.
    template<class T>
    HashBuilder& add(const std::optional<T>& value)
    {
        add(value.has_value());
        if (value)
            add(*value);
        return *this;
    }

    std::size_t result() const { return m_hash; }

private:
    void mix(std::size_t h) { m_hash ^= h + 0x9e3779b97f4a7c15ULL + (m_hash << 12) + (m_hash >> 4); }
    std::size_t m_hash = 0;
};

}
