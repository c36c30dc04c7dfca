// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QSize>

struct wl_buffer;
struct wl_shm;

namespace quelm::host::wayland {

// One picture in memory shared with the compositor: paint into image(), attach buffer(), and wait
// until the compositor releases it before painting into it again.
//   ShmBuffer buffer(shm, size);  if (!buffer.busy()) { paint(buffer.image()); attach(buffer.buffer()); }
class ShmBuffer {
public:
    // Throws std::runtime_error when the memory cannot be had.
    ShmBuffer(wl_shm* shm, QSize pixels);
    ~ShmBuffer();
    ShmBuffer(const ShmBuffer&) = delete;
    ShmBuffer& operator=(const ShmBuffer&) = delete;

    QSize size() const { return m_size; }
    // Premultiplied ARGB, which is the compositor's ARGB8888 in memory on this little-endian machine.
    QImage& image() { return m_image; }
    wl_buffer* buffer() const { return m_buffer; }

    bool busy() const { return m_busy; }
    // Attached: the compositor reads it until it says otherwise.
    void markAttached() { m_busy = true; }

private:
    static void released(void* data, wl_buffer*);

    QSize m_size;
    std::size_t m_bytes = 0;
    void* m_memory = nullptr;
    wl_buffer* m_buffer = nullptr;
    QImage m_image;
    bool m_busy = false;
};

}
