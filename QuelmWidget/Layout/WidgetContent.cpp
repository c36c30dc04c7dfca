// SPDX-License-Identifier: MIT
#include "Layout/WidgetContent.h"

#include "Widget/AppAddress.h"

#include <array>

namespace quelm {

WidgetContent WidgetContent::choose(SharedStore::AppStatus appStatus, const WidgetSnapshot& snapshot, WidgetFamily family)
{
    return choose(appStatus, snapshot, std::optional<WidgetFamily>(family));
}

WidgetContent WidgetContent::choose(SharedStore::AppStatus appStatus, const WidgetSnapshot& snapshot, std::optional<WidgetFamily> family)
{
    switch (appStatus) {
    case SharedStore::AppStatus::notRunning:
        return { Kind::closedMessage };
    case SharedStore::AppStatus::noAccess:
        return { Kind::noAccessMessage };
    case SharedStore::AppStatus::running:
        break;
    }
    if (snapshot.items.empty() && snapshot.sessions.empty())
        return { Kind::nothingRunning };
    if (family == WidgetFamily::small)
        return { Kind::small };
    if (family == WidgetFamily::medium)
        return { Kind::medium };
    if (family == WidgetFamily::extraLarge)
        return { Kind::extraLarge };
    return { Kind::large };
}

std::optional<WidgetMessage> WidgetContent::message() const
{
    switch (kind) {
    case Kind::closedMessage:
        return WidgetMessage { { "Quelm está fechado" }, LocalizedText { "Toque para abrir" }, std::string(openAppAddress) };
    case Kind::noAccessMessage:
        return WidgetMessage { { "Sem acesso aos dados" }, LocalizedText { "Reinstale o Quelm" }, std::nullopt };
    case Kind::nothingRunning:
        return WidgetMessage { { "Nada rodando" }, std::nullopt, std::nullopt };
    case Kind::small:
    case Kind::medium:
    case Kind::large:
    case Kind::extraLarge:
        break;
    }
    return std::nullopt;
}

std::string_view rawValue(WidgetContent::Kind kind)
{
    static constexpr std::array<std::string_view, 7> names {
        "closedMessage", "noAccessMessage", "nothingRunning", "small", "medium", "large", "extraLarge"
    };
    const auto index = static_cast<std::size_t>(kind);
    return index < names.size() ? names[index] : std::string_view {};
}

}
