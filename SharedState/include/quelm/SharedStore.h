// SPDX-License-Identifier: MIT
#pragma once

#include <quelm/Date.h>
#include <quelm/WidgetCommand.h>
#include <quelm/WidgetSnapshot.h>
#include <quelm/WireFormat.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace quelm {

// The app group's container, the only code that touches it. App side: writeSnapshot,
// touchHeartbeat, drainCommands (or a CommandConsumer). Widget side: readSnapshot, appStatus,
// enqueue, markPending, pendingCommands. Only writeSnapshot and enqueue report failure
// (std::system_error or EncodingError); every other operation degrades to an empty or neutral
// result, and the overloads taking a std::error_code say what failed. Writers refuse a document
// larger than its reader accepts (EFBIG). A container or "commands" that is not the user's own,
// or that group or others may write, is refused: readers see nothing (noAccess), writers fail.
class SharedStore {
public:
    enum class AppStatus {
        running,
        notRunning,
        noAccess,
    };

    // Uses `root` as it is; checks and creates nothing.
    explicit SharedStore(std::filesystem::path root);

    // $XDG_DATA_HOME/group-containers/<appGroup>, or nothing when no container can be named.
    static std::optional<SharedStore> forAppGroup(std::string_view appGroup);

    const std::filesystem::path& root() const { return m_root; }

    void writeSnapshot(const WidgetSnapshot&) const;
    WidgetSnapshot readSnapshot() const noexcept;
    void touchHeartbeat(Date) const noexcept;
    void touchHeartbeat(Date, std::error_code& error) const noexcept;
    AppStatus appStatus(Date now) const noexcept;

    void enqueue(const WidgetCommand&) const;
    // Serialised between processes by an advisory lock on root/"pending.lock".
    void markPending(const WidgetCommand&) const noexcept;
    void markPending(const WidgetCommand&, std::error_code& error) const noexcept;
    PendingCommands pendingCommands(const WidgetSnapshot& after, Date now, double maximumAge) const noexcept;
    std::vector<WidgetCommand> drainCommands() const noexcept;

    // Why the container is refused (another user's, or writable by group or others), or empty.
    std::string refusal() const;

    bool operator==(const SharedStore&) const = default;

private:
    std::filesystem::path m_root;
};

std::string_view rawValue(SharedStore::AppStatus);
template<>
std::optional<SharedStore::AppStatus> fromRawValue<SharedStore::AppStatus>(std::string_view);

}
