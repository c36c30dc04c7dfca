// SPDX-License-Identifier: MIT
#include "PageBuffer.h"

#include <new>
#include <utility>

#include <sys/mman.h>
#include <unistd.h>

namespace quelm::detail {

namespace {

// Giving back a page at a time would cost a system call per page read.
constexpr std::size_t releaseStep = 1024 * 1024;

}

PageBuffer::PageBuffer(std::size_t capacity)
    : m_capacity(capacity)
{
    if (capacity == 0)
        return;
    // Reserved without being backed: only the pages written to count against the process.
    void* address = ::mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (address == MAP_FAILED)
        throw std::bad_alloc();
    m_data = static_cast<char*>(address);
}

PageBuffer::~PageBuffer()
{
    if (m_data)
        ::munmap(m_data, m_capacity);
}

PageBuffer::PageBuffer(PageBuffer&& other) noexcept
    : m_data(std::exchange(other.m_data, nullptr))
    , m_capacity(std::exchange(other.m_capacity, 0))
    , m_size(std::exchange(other.m_size, 0))
    , m_released(std::exchange(other.m_released, 0))
{
}

PageBuffer& PageBuffer::operator=(PageBuffer&& other) noexcept
{
    if (this != &other) {
        PageBuffer gone(std::move(*this));
        m_data = std::exchange(other.m_data, nullptr);
        m_capacity = std::exchange(other.m_capacity, 0);
        m_size = std::exchange(other.m_size, 0);
        m_released = std::exchange(other.m_released, 0);
    }
    return *this;
}

void PageBuffer::resize(std::size_t size)
{
    if (size > m_capacity)
        throw std::bad_alloc();
    m_size = size;
}

void PageBuffer::releaseBefore(const char* position) noexcept
{
    if (!m_data || position < m_data + m_released)
        return;
    static const std::size_t pageSize = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    const std::size_t end = static_cast<std::size_t>(position - m_data) / pageSize * pageSize;
    if (end < m_released + releaseStep)
        return;
    // Private anonymous pages are dropped at once and read as zeros afterwards.
    if (::madvise(m_data + m_released, end - m_released, MADV_DONTNEED) == 0)
        m_released = end;
}

}
