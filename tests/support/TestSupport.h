// SPDX-License-Identifier: MIT
#pragma once

// Small helpers shared by the test programs: temporary directories, environment overrides,
// whole-file reads and writes, directory listings, sockets, and running a built program.

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace quelm::test {

// A fresh directory under $TMPDIR, removed with everything in it on destruction.
class TemporaryDirectory {
public:
    TemporaryDirectory()
    {
        auto pattern = (std::filesystem::temp_directory_path() / "quelm-test-XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            throw std::system_error(errno, std::generic_category(), "mkdtemp");
        m_path = pattern;
    }
    ~TemporaryDirectory()
    {
        std::error_code ignored;
        // Tests may leave read-only directories behind; make them removable first.
        for (auto it = std::filesystem::recursive_directory_iterator(m_path, std::filesystem::directory_options::skip_permission_denied, ignored);
             it != std::filesystem::recursive_directory_iterator(); it.increment(ignored)) {
            if (it->is_directory(ignored) && !it->is_symlink(ignored))
                ::chmod(it->path().c_str(), 0700);
        }
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    std::filesystem::path operator/(const std::filesystem::path& child) const { return m_path / child; }

private:
    std::filesystem::path m_path;
};

// Sets (or unsets) an environment variable for the lifetime of the object.
class ScopedEnvironment {
public:
    ScopedEnvironment(std::string name, std::optional<std::string> value)
        : m_name(std::move(name))
    {
        if (const char* old = std::getenv(m_name.c_str()))
            m_old = old;
        if (value)
            ::setenv(m_name.c_str(), value->c_str(), 1);
        else
            ::unsetenv(m_name.c_str());
    }
    ~ScopedEnvironment()
    {
        if (m_old)
            ::setenv(m_name.c_str(), m_old->c_str(), 1);
        else
            ::unsetenv(m_name.c_str());
    }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    std::string m_name;
    std::optional<std::string> m_old;
};

// A stress test's count: the positive number in `variable` (scripts/stress.sh sets the full
// strengths there), else `fallback`, the suite's reduced count.
inline int configuredCount(const char* variable, int fallback)
{
    const char* configured = std::getenv(variable);
    const int count = configured ? std::atoi(configured) : 0;
    return count > 0 ? count : fallback;
}

inline void writeFile(const std::filesystem::path& path, const std::string& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out)
        throw std::runtime_error("cannot write " + path.string());
    out << bytes;
}

inline std::string readFile(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw std::runtime_error("cannot read " + path.string());
    std::ostringstream buffer;
    buffer << in.rdbuf();
    return buffer.str();
}

// The names in `directory`, sorted.
inline std::vector<std::string> entriesOf(const std::filesystem::path& directory)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

// Leaves a bound UNIX socket at `path`, as a program that listens there would.
inline void makeSocket(const std::filesystem::path& path)
{
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (fd < 0)
        throw std::system_error(errno, std::generic_category(), "socket");
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    if (path.native().size() >= sizeof address.sun_path) {
        ::close(fd);
        throw std::length_error("socket path too long: " + path.string());
    }
    std::strcpy(address.sun_path, path.c_str());
    const int bound = ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    const int error = errno;
    ::close(fd);
    if (bound != 0)
        throw std::system_error(error, std::generic_category(), "bind " + path.string());
}

inline mode_t permissions(const std::filesystem::path& path)
{
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0)
        throw std::system_error(errno, std::generic_category(), path.string());
    return info.st_mode & 07777;
}

}
