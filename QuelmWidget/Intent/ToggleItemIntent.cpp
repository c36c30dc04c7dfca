// SPDX-License-Identifier: MIT
#include "Intent/ToggleItemIntent.h"

#include <quelm/Notification.h>
#include <quelm/Date.h>
#include <quelm/SharedConstants.h>
#include <quelm/SharedStore.h>
#include <quelm/Uuid.h>
#include <quelm/WidgetCommand.h>

#include <stdexcept>

namespace quelm {

void ToggleItemIntent::perform() const
{
    if (!itemID || !start)
        throw std::logic_error("ToggleItemIntent.perform() needs both itemID and start");

    if (const auto store = SharedStore::forAppGroup(SharedConstants::appGroupIdentifier))
        (void)perform(*store);
}

std::error_code ToggleItemIntent::perform(const SharedStore& store) const
{
    if (!itemID || !start)
        throw std::logic_error("ToggleItemIntent.perform() needs both itemID and start");

    const WidgetCommand command(*itemID, *start ? WidgetCommand::Action::start : WidgetCommand::Action::stop, Uuid::random(), Date::now());
    store.enqueue(command);
    std::error_code markFailure;
    store.markPending(command, markFailure);
    Notification::post(SharedConstants::commandNotification);
    return markFailure;
}

}
