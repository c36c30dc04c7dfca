// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

namespace quelmctl {

// A second wake-up for a consumer, beside the bus: inotify on the "commands" folder, which tells
// of every command that arrives there whether or not its notification could be posted.
//   QueueWatch queue(root / "commands");  // poll queue.descriptor(), then queue.takeEvents()
class QueueWatch {
public:
    // Throws std::system_error when inotify cannot watch the folder.
    explicit QueueWatch(const std::filesystem::path& folder);
    ~QueueWatch();
    QueueWatch(const QueueWatch&) = delete;
    QueueWatch& operator=(const QueueWatch&) = delete;

    // Readable when something arrived.
    int descriptor() const { return m_fd; }

    // Reads the pending events away, so that the descriptor waits for the next arrival.
    void takeEvents() noexcept;

private:
    int m_fd = -1;
};

}
