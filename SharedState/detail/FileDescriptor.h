// SPDX-License-Identifier: MIT
#pragma once

#include <utility>

#include <unistd.h>

namespace quelm::detail {

// A file descriptor, owned: closed when it goes. Moves hand the ownership over.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) noexcept : m_fd(fd) { }
    ~FileDescriptor() { reset(); }

    FileDescriptor(FileDescriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) { }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        if (this != &other)
            reset(std::exchange(other.m_fd, -1));
        return *this;
    }

    int get() const noexcept { return m_fd; }
    bool isOpen() const noexcept { return m_fd >= 0; }
    explicit operator bool() const noexcept { return isOpen(); }
    int release() noexcept { return std::exchange(m_fd, -1); }

    // Closes now and reports what close(2) said: 0, or -1 with errno set (a late write error).
    int close() noexcept
    {
        if (m_fd < 0)
            return 0;
        return ::close(std::exchange(m_fd, -1));
    }

    void reset(int fd = -1) noexcept
    {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = fd;
    }

private:
    int m_fd = -1;
};

}
