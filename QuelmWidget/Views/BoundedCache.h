// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace quelm::views {

// Values worth keeping between renders (measured texts, shaped lines), looked up by key and made
// on a miss: `cache.get(key, [&] { return make(); })`. Once it holds `capacity` values it forgets
// them all, so that a host running for weeks keeps what its current renders ask for again and
// not every text it ever showed. Safe to use from several threads; a value is made outside the
// lock, so two threads may make the same one.
template<typename Key, typename Value, typename Hash = std::hash<Key>>
class BoundedCache {
public:
    explicit BoundedCache(std::size_t capacity)
        : m_capacity(capacity > 0 ? capacity : 1)
    {
    }

    template<typename Make>
    Value get(const Key& key, Make&& make)
    {
        {
            std::lock_guard lock(m_mutex);
            if (auto found = m_values.find(key); found != m_values.end())
                return found->second;
        }
        Value made = std::forward<Make>(make)();
        std::lock_guard lock(m_mutex);
        if (m_values.size() >= m_capacity && !m_values.contains(key))
            m_values.clear();
        m_values.insert_or_assign(key, made);
        return made;
    }

    std::size_t size() const
    {
        std::lock_guard lock(m_mutex);
        return m_values.size();
    }
    std::size_t capacity() const { return m_capacity; }

    void clear()
    {
        std::lock_guard lock(m_mutex);
        m_values = {};
    }

private:
    const std::size_t m_capacity;
    mutable std::mutex m_mutex;
    std::unordered_map<Key, Value, Hash> m_values;
};

}
