// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QSize>

#include <array>
#include <cstddef>
#include <memory>

struct wl_buffer;
struct wl_shm;
struct wl_surface;

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

// A buffer, or null when the memory cannot be had (said on standard error).
std::unique_ptr<ShmBuffer> makeShmBuffer(wl_shm* shm, QSize pixels);

// The buffers of one surface, used in turn, so that one is free to paint while the compositor
// reads the others: `if (ShmBuffer* b = ring.free(shm, pixels)) { paint(b->image()); attachWhole(…); }`
template<std::size_t count>
class ShmBufferRing {
public:
    // A buffer of `pixels` that the compositor is not reading, made when needed (a free one of
    // another size is made again); null when none is free or the memory cannot be had.
    ShmBuffer* free(wl_shm* shm, QSize pixels)
    {
        for (auto& buffer : m_buffers) {
            if (buffer && buffer->size() != pixels && !buffer->busy())
                buffer.reset();
            if (!buffer && !(buffer = makeShmBuffer(shm, pixels)))
                return nullptr;
            if (!buffer->busy() && buffer->size() == pixels)
                return buffer.get();
        }
        return nullptr;
    }

    void clear()
    {
        for (auto& buffer : m_buffers)
            buffer.reset();
    }

private:
    std::array<std::unique_ptr<ShmBuffer>, count> m_buffers;
};

// Attaches `buffer`, painted at `scale` for a surface of `size` in layout pixels, to `surface` with
// the whole surface damaged. The caller asks for its frame callback and commits.
void attachWhole(wl_surface* surface, ShmBuffer& buffer, int scale, QSize size);

}
