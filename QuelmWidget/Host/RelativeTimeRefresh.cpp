#include "RelativeTimeRefresh.h"

#include "ItemRow.h"
#include "QuelmWidgetBundle.h"
#include "RelativeTime.h"
#include "RowState.h"
#include "WidgetLayout.h"

#include <algorithm>

namespace quelm::host {

std::optional<Date> nextRelativeTimeChange(const Entry& entry, WidgetFamily family, Date now)
{
    const WidgetView view = QuelmWidget::view(entry, family);
    if (view.content.isMessage() || view.content.kind == WidgetContent::Kind::small)
        return std::nullopt;

    std::optional<Date> next;
    for (const WidgetItem& item : WidgetLayout(entry.snapshot, view.family, entry.sortOrder).items) {
        const ItemRowDetail detail = ItemRow { item, pendingAction(entry.pending, item.id), false }.detail();
        if (!detail.isLive())
            continue;
        const Date change = RelativeTime::nextChange(detail.startedAt, now);
        next = next ? std::min(*next, change) : change;
    }
    return next;
}

}
