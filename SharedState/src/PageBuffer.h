// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string_view>

namespace quelm::detail {

// Bytes in pages of their own, up to a capacity fixed at construction (reserved, not yet used).
// A reader that is done with the start of the bytes gives those pages back with `releaseBefore`
// while it reads on, so that a large document and the records made of it are never both held
// whole. Bytes given back read as zeros from then on.
class PageBuffer {
public:
    PageBuffer() = default;
    // Throws std::bad_alloc when the address space cannot be reserved.
    explicit PageBuffer(std::size_t capacity);
    ~PageBuffer();
    PageBuffer(PageBuffer&&) noexcept;
    PageBuffer& operator=(PageBuffer&&) noexcept;
    PageBuffer(const PageBuffer&) = delete;
    PageBuffer& operator=(const PageBuffer&) = delete;

    char* data() { return m_data; }
    const char* data() const { return m_data; }
    std::size_t size() const { return m_size; }
    std::string_view view() const { return { m_data, m_size }; }

    // Throws std::bad_alloc beyond the capacity.
    void resize(std::size_t size);
    void clear() { resize(0); }

    // Gives back the whole pages before `position`, a place in this buffer. Cheap to call often:
    // pages go back a large stretch at a time.
    void releaseBefore(const char* position) noexcept;
    // The first byte that still reads as it was written.
    const char* keptFrom() const { return m_data + m_released; }

private:
    char* m_data = nullptr;
    std::size_t m_capacity = 0;
    std::size_t m_size = 0;
    std::size_t m_released = 0;
};

}
