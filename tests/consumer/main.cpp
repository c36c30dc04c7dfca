// SPDX-License-Identifier: MIT
// Publishes a snapshot, beats, and reads both back through an installed libQuelmShared.
#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    quelm::SharedStore store { argv[1] };
    quelm::WidgetSnapshot snapshot { { quelm::WidgetItem { "a", "my-api", "node", true } }, {}, {}, std::nullopt, quelm::Date::now() };
    store.writeSnapshot(snapshot);
    store.touchHeartbeat(quelm::Date::now());
    bool ok = store.readSnapshot() == snapshot && store.appStatus(quelm::Date::now()) == quelm::SharedStore::AppStatus::running;
    std::printf("%s %s\n", ok ? "ok" : "mismatch", std::string(quelm::SharedConstants::widgetKind).c_str());
    return ok ? 0 : 1;
}
