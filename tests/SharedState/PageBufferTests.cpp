// SPDX-License-Identifier: MIT
// The buffer a large document is read into, and the pages it gives back while records are made.

#include "../../SharedState/src/PageBuffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <string>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

using quelm::detail::PageBuffer;

namespace {

constexpr std::size_t mebibyte = 1024 * 1024;

// The process's resident anonymous memory, in KiB, or -1 where /proc does not tell.
long residentAnonymousKiB()
{
    const int fd = ::open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return -1;
    char text[8192] {};
    const ssize_t count = ::read(fd, text, sizeof text - 1);
    ::close(fd);
    const char* line = count > 0 ? std::strstr(text, "RssAnon:") : nullptr;
    return line ? std::stol(line + std::strlen("RssAnon:")) : -1;
}

}

TEST(PageBuffer, HoldsWhatIsWrittenUpToItsCapacity)
{
    PageBuffer buffer(3 * mebibyte);
    EXPECT_EQ(buffer.size(), 0u);
    buffer.resize(3 * mebibyte);
    std::memset(buffer.data(), 'x', buffer.size());
    EXPECT_EQ(buffer.view(), std::string(3 * mebibyte, 'x'));
    EXPECT_EQ(buffer.keptFrom(), buffer.data());
    EXPECT_THROW(buffer.resize(3 * mebibyte + 1), std::bad_alloc);
    EXPECT_EQ(buffer.size(), 3 * mebibyte);
    buffer.clear();
    EXPECT_EQ(buffer.view(), "");
}

TEST(PageBuffer, GivesBackWholeStretchesBeforeAPlaceAndKeepsTheRest)
{
    PageBuffer buffer(8 * mebibyte);
    buffer.resize(8 * mebibyte);
    std::memset(buffer.data(), 'x', buffer.size());

    // Less than a stretch is kept: giving back costs a system call.
    buffer.releaseBefore(buffer.data() + 4096);
    EXPECT_EQ(buffer.keptFrom(), buffer.data());

    const long before = residentAnonymousKiB();
    const char* place = buffer.data() + 5 * mebibyte + 100;
    buffer.releaseBefore(place);
    const long after = residentAnonymousKiB();
    EXPECT_GT(buffer.keptFrom(), buffer.data() + 4 * mebibyte);
    EXPECT_LE(buffer.keptFrom(), place);
    EXPECT_EQ(buffer.keptFrom()[0], 'x');
    EXPECT_EQ(std::string_view(buffer.keptFrom(), static_cast<std::size_t>(buffer.data() + buffer.size() - buffer.keptFrom())),
        std::string(static_cast<std::size_t>(buffer.data() + buffer.size() - buffer.keptFrom()), 'x'));
    // What went back reads as zeros, and no longer counts against the process.
    EXPECT_EQ(buffer.data()[0], '\0');
    if (before >= 0) {
        EXPECT_LE(after, before - 4 * 1024);
    }

    // Never backwards.
    const char* kept = buffer.keptFrom();
    buffer.releaseBefore(buffer.data() + mebibyte);
    EXPECT_EQ(buffer.keptFrom(), kept);
}

TEST(PageBuffer, MovesItsPagesAlong)
{
    PageBuffer first(mebibyte);
    first.resize(5);
    std::memcpy(first.data(), "hello", 5);
    PageBuffer second(std::move(first));
    EXPECT_EQ(second.view(), "hello");
    EXPECT_EQ(first.size(), 0u);
    first = std::move(second);
    EXPECT_EQ(first.view(), "hello");
    PageBuffer empty;
    EXPECT_EQ(empty.view(), "");
    EXPECT_THROW(empty.resize(1), std::bad_alloc);
}
