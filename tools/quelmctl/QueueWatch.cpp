// SPDX-License-Identifier: MIT
#include "QueueWatch.h"

#include <cerrno>
#include <system_error>

#include <sys/inotify.h>
#include <unistd.h>

namespace quelmctl {

QueueWatch::QueueWatch(const std::filesystem::path& folder)
{
    m_fd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_fd < 0)
        throw std::system_error(errno, std::generic_category(), "inotify_init1");
    // A command arrives by a rename into the folder (IN_MOVED_TO); a writer of its own may also
    // create it there and close it.
    if (::inotify_add_watch(m_fd, folder.c_str(), IN_MOVED_TO | IN_CLOSE_WRITE | IN_ONLYDIR | IN_DONT_FOLLOW) < 0) {
        const int error = errno;
        ::close(m_fd);
        throw std::system_error(error, std::generic_category(), "inotify_add_watch " + folder.string());
    }
}

QueueWatch::~QueueWatch()
{
    ::close(m_fd);
}

void QueueWatch::takeEvents() noexcept
{
    alignas(inotify_event) char buffer[4096];
    while (::read(m_fd, buffer, sizeof buffer) > 0 || errno == EINTR) {
    }
}

}
