// SPDX-License-Identifier: MIT
#include <quelm/SharedStore.h>

#include <quelm/SharedConstants.h>

#include "FileAccess.h"
#include "Heartbeat.h"
#include "SnapshotDecoding.h"

#include <cerrno>
#include <cstdlib>

namespace quelm {

namespace {

constexpr const char* snapshotFileName = "snapshot.json";
constexpr const char* heartbeatFileName = "heartbeat";

bool isAbsolute(const char* path)
{
    return path && path[0] == '/';
}

bool isUsableGroupName(std::string_view group)
{
    return !group.empty() && group != "." && group != ".." && group.find('/') == std::string_view::npos
        && group.find('\0') == std::string_view::npos;
}

}

SharedStore::SharedStore(std::filesystem::path root)
    : m_root(std::move(root))
{
}

std::optional<SharedStore> SharedStore::forAppGroup(std::string_view appGroup)
{
    if (!isUsableGroupName(appGroup))
        return std::nullopt;
    std::filesystem::path dataHome;
    if (const char* xdgDataHome = std::getenv("XDG_DATA_HOME"); isAbsolute(xdgDataHome))
        dataHome = xdgDataHome;
    else if (const char* home = std::getenv("HOME"); isAbsolute(home))
        dataHome = std::filesystem::path(home) / ".local" / "share";
    else
        return std::nullopt;
    return SharedStore(dataHome / "group-containers" / std::filesystem::path(appGroup));
}

void SharedStore::writeSnapshot(const WidgetSnapshot& snapshot) const
{
    detail::requireTrusted(m_root);
    detail::createPrivateDirectories(m_root);
    detail::requireTrusted(m_root);
    auto bytes = encode(snapshot);
    detail::writeFileAtomically(m_root / snapshotFileName, bytes, detail::maximumDocumentSize);
}

WidgetSnapshot SharedStore::readSnapshot() const noexcept
{
    try {
        if (!detail::distrust(m_root).empty())
            return WidgetSnapshot::empty;
        auto file = detail::readDocument(m_root / snapshotFileName);
        if (file.succeeded())
            return detail::decodeGivingBack(file.bytes);
        // A document that does not decode reads as no snapshot, however it fails.
    } catch (...) {
    }
    return WidgetSnapshot::empty;
}

void SharedStore::touchHeartbeat(Date date) const noexcept
{
    std::error_code ignored;
    touchHeartbeat(date, ignored);
}

void SharedStore::touchHeartbeat(Date date, std::error_code& error) const noexcept
{
    error.clear();
    // The root is deliberately not created here: the app's first writeSnapshot does that.
    try {
        detail::requireTrusted(m_root);
        detail::writeFileAtomically(m_root / heartbeatFileName, detail::formatHeartbeat(date.secondsSince1970()),
            detail::maximumSmallFileSize);
    } catch (const std::system_error& failure) {
        error = detail::errorCarriedBy(failure);
    } catch (...) {
        error = std::make_error_code(std::errc::not_enough_memory);
    }
}

SharedStore::AppStatus SharedStore::appStatus(Date now) const noexcept
{
    try {
        if (!detail::distrust(m_root).empty())
            return AppStatus::noAccess;
        auto file = detail::readRegularFile(m_root / heartbeatFileName, detail::maximumSmallFileSize);
        if (!file.succeeded())
            return file.error == EACCES || file.error == EPERM ? AppStatus::noAccess : AppStatus::notRunning;
        auto beat = detail::parseHeartbeat(file.bytes);
        if (!beat)
            return AppStatus::notRunning;
        // A beat in the future (negative age) counts as running; a nan age compares false.
        double age = now.secondsSince1970() - *beat;
        return age < SharedConstants::heartbeatTimeout ? AppStatus::running : AppStatus::notRunning;
    } catch (...) {
        return AppStatus::notRunning;
    }
}

std::string SharedStore::refusal() const
{
    auto reason = detail::distrust(m_root);
    if (reason.empty())
        reason = detail::distrust(m_root / "commands");
    return reason;
}

std::string_view rawValue(SharedStore::AppStatus status)
{
    switch (status) {
    case SharedStore::AppStatus::running:
        return "running";
    case SharedStore::AppStatus::notRunning:
        return "notRunning";
    case SharedStore::AppStatus::noAccess:
        return "noAccess";
    }
    return {};
}

template<>
std::optional<SharedStore::AppStatus> fromRawValue<SharedStore::AppStatus>(std::string_view raw)
{
    for (auto status : { SharedStore::AppStatus::running, SharedStore::AppStatus::notRunning, SharedStore::AppStatus::noAccess }) {
        if (rawValue(status) == raw)
            return status;
    }
    return std::nullopt;
}

}
