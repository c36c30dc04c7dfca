// SPDX-License-Identifier: MIT
#include "Host/Wayland/ShmBuffer.h"

#include <wayland-client.h>

#include <iostream>
#include <stdexcept>

#include <sys/mman.h>
#include <unistd.h>

namespace quelm::host::wayland {

namespace detail {

// A descriptor closed with its owner.
struct FileDescriptor {
    int fd;
    ~FileDescriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
};

}

ShmBuffer::ShmBuffer(wl_shm* shm, QSize pixels)
    : m_size(pixels)
{
    static_assert(Q_BYTE_ORDER == Q_LITTLE_ENDIAN, "ARGB8888 is QImage's ARGB32 only on little-endian machines");
    const int stride = pixels.width() * 4;
    m_bytes = static_cast<std::size_t>(stride) * static_cast<std::size_t>(pixels.height());
    const detail::FileDescriptor memory { ::memfd_create("quelm-widget", MFD_CLOEXEC | MFD_ALLOW_SEALING) };
    if (memory.fd < 0 || ::ftruncate(memory.fd, static_cast<off_t>(m_bytes)) != 0)
        throw std::runtime_error("no shared memory for a widget's picture");
    m_memory = ::mmap(nullptr, m_bytes, PROT_READ | PROT_WRITE, MAP_SHARED, memory.fd, 0);
    if (m_memory == MAP_FAILED) {
        m_memory = nullptr;
        throw std::runtime_error("no shared memory for a widget's picture");
    }
    wl_shm_pool* pool = wl_shm_create_pool(shm, memory.fd, static_cast<std::int32_t>(m_bytes));
    m_buffer = wl_shm_pool_create_buffer(pool, 0, pixels.width(), pixels.height(), stride, WL_SHM_FORMAT_ARGB8888);
    // The buffer keeps the memory; the pool is only the way to it.
    wl_shm_pool_destroy(pool);
    static const wl_buffer_listener listener { released };
    wl_buffer_add_listener(m_buffer, &listener, this);
    m_image = QImage(static_cast<uchar*>(m_memory), pixels.width(), pixels.height(), stride, QImage::Format_ARGB32_Premultiplied);
}

ShmBuffer::~ShmBuffer()
{
    m_image = QImage();
    if (m_buffer)
        wl_buffer_destroy(m_buffer);
    if (m_memory)
        ::munmap(m_memory, m_bytes);
}

void ShmBuffer::released(void* data, wl_buffer*)
{
    static_cast<ShmBuffer*>(data)->m_busy = false;
}

std::unique_ptr<ShmBuffer> makeShmBuffer(wl_shm* shm, QSize pixels)
{
    try {
        return std::make_unique<ShmBuffer>(shm, pixels);
    } catch (const std::exception& error) {
        std::cerr << "quelm-widget: " << error.what() << std::endl;
        return nullptr;
    }
}

void attachWhole(wl_surface* surface, ShmBuffer& buffer, int scale, QSize size)
{
    wl_surface_set_buffer_scale(surface, scale);
    wl_surface_attach(surface, buffer.buffer(), 0, 0);
    buffer.markAttached();
    wl_surface_damage(surface, 0, 0, size.width(), size.height());
}

}
