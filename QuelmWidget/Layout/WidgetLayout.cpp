// SPDX-License-Identifier: MIT
#include "Layout/WidgetLayout.h"

#include "Layout/TitleCollator.h"
#include "Look/WidgetGlyph.h"

#include <quelm/Date.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <string>

namespace quelm {

namespace {

constexpr std::int64_t unlimited = std::numeric_limits<std::int64_t>::max();

// Per family: the most rows it can give items, and the most slots it fills. Only this many of the
// sorted items (and of the groups) can ever be shown, so only they are ordered and copied; the
// order of the rest does not matter.
std::int64_t mostRows(WidgetFamily family)
{
    switch (family) {
    case WidgetFamily::small:
        return 3;
    case WidgetFamily::medium:
        return 4;
    case WidgetFamily::extraLarge:
        return 14;
    case WidgetFamily::large:
        break;
    }
    return 7;
}

template<class T>
std::vector<T> prefix(const std::vector<T>& list, std::int64_t count)
{
    const auto n = static_cast<std::size_t>(std::clamp<std::int64_t>(count, 0, static_cast<std::int64_t>(list.size())));
    return std::vector<T>(list.begin(), list.begin() + static_cast<std::ptrdiff_t>(n));
}

double startedSeconds(const WidgetItem& item)
{
    return item.startedAt.value_or(Date::distantPast()).secondsSince1970();
}

// The first `most` items of the stable sort of `items` by `WidgetLayout::order(sortOrder)`. A
// family shows at most 14 items, so only that head is ordered, and titles — the one costly
// rule, a collator call — are compared only where the cheap rules leave a tie that matters:
// 1. each item gets its cheap keys (running state; category rank, or minus the start time under
//    `recent`), computed once, and its snapshot position, which makes the order total and so
//    lets an unstable partial sort give exactly the head of the stable sort;
// 2. only items whose cheap keys are no worse than those of the `most`-th best can be among the
//    first `most` (any other item has at least `most` items strictly before it);
// 3. those candidates are partially sorted with the full rule. A partial sort of a few out of n
//    makes about n comparisons, each stopping at the first difference; that is cheaper than
//    building n collation keys (measured in bench/LayoutBench).
struct CheapKey {
    bool isRunning;
    double secondary;
    std::size_t index;

    // Running first, then the lower secondary key; nothing else.
    bool before(const CheapKey& other) const
    {
        if (isRunning != other.isRunning)
            return isRunning;
        return secondary < other.secondary;
    }
};

std::vector<WidgetItem> firstSorted(const std::vector<WidgetItem>& items, WidgetSortOrder sortOrder, std::int64_t most)
{
    const auto count = std::min(static_cast<std::size_t>(std::max<std::int64_t>(most, 0)), items.size());
    if (count == 0)
        return {};

    std::vector<CheapKey> keys;
    keys.reserve(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        const WidgetItem& item = items[i];
        const double secondary = sortOrder == WidgetSortOrder::category
            ? static_cast<double>(WidgetGlyph::rank(item.category))
            : -startedSeconds(item);
        keys.push_back(CheapKey { item.isRunning, secondary, i });
    }

    auto candidatesEnd = keys.end();
    if (count < keys.size()) {
        const auto nth = keys.begin() + static_cast<std::ptrdiff_t>(count - 1);
        std::nth_element(keys.begin(), nth, keys.end(), [](const CheapKey& a, const CheapKey& b) { return a.before(b); });
        const CheapKey threshold = *nth;
        candidatesEnd = std::partition(keys.begin(), keys.end(), [&](const CheapKey& key) { return !threshold.before(key); });
    }

    const auto collator = TitleCollator::current();
    const auto before = [&](const CheapKey& a, const CheapKey& b) {
        if (a.before(b))
            return true;
        if (b.before(a))
            return false;
        if (const int c = collator->compare(items[a.index].title, items[b.index].title); c != 0)
            return c < 0;
        return a.index < b.index;
    };
    std::partial_sort(keys.begin(), keys.begin() + static_cast<std::ptrdiff_t>(count), candidatesEnd, before);

    std::vector<WidgetItem> sorted;
    sorted.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        sorted.push_back(items[keys[i].index]);
    return sorted;
}

}

WidgetLayout::ItemOrder WidgetLayout::order(WidgetSortOrder sortOrder)
{
    return [sortOrder, collator = TitleCollator::current()](const WidgetItem& a, const WidgetItem& b) {
        if (a.isRunning != b.isRunning)
            return a.isRunning;
        if (sortOrder == WidgetSortOrder::category) {
            const int rankA = WidgetGlyph::rank(a.category);
            const int rankB = WidgetGlyph::rank(b.category);
            if (rankA != rankB)
                return rankA < rankB;
        } else {
            const double startedA = startedSeconds(a);
            const double startedB = startedSeconds(b);
            if (startedA != startedB)
                return startedA > startedB;
        }
        return collator->compare(a.title, b.title) < 0;
    };
}

WidgetLayout::Filled WidgetLayout::fill(std::int64_t slots, const WidgetSnapshot& snapshot, std::int64_t maximumGroups)
{
    Filled filled;
    filled.groups = prefix(snapshot.groups, std::min(std::max<std::int64_t>(slots, 0), maximumGroups));
    const auto taken = static_cast<std::int64_t>(filled.groups.size());
    filled.items = prefix(snapshot.items, std::max<std::int64_t>(slots - taken, 0));
    return filled;
}

WidgetLayout::WidgetLayout(const WidgetSnapshot& snapshot, WidgetFamily family, WidgetSortOrder sortOrder)
{
    // 1. The sorted items. Only the head that this family can show is ordered and kept, and only
    //    as many groups as it has slots: `fill` takes its prefixes from the same heads.
    WidgetSnapshot sorted;
    sorted.items = firstSorted(snapshot.items, sortOrder, mostRows(family));
    sorted.groups = prefix(snapshot.groups, mostRows(family));

    const auto sessionCount = [this] { return static_cast<std::int64_t>(sessions.size()); };
    switch (family) {
    case WidgetFamily::small: {
        // 2. Only the small family looks at the state: the first session that needs approval.
        const auto attention = std::find_if(snapshot.sessions.begin(), snapshot.sessions.end(),
            [](const WidgetSession& s) { return s.state == WidgetSession::State::needsApproval; });
        if (attention != snapshot.sessions.end())
            sessions.push_back(*attention);
        auto filled = fill(3 - sessionCount(), sorted, unlimited);
        groups = std::move(filled.groups);
        items = std::move(filled.items);
        return;
    }
    case WidgetFamily::medium: {
        sessions = prefix(snapshot.sessions, 3);
        // Deliberately 4 slots whatever the number of sessions.
        auto filled = fill(4, sorted, unlimited);
        groups = std::move(filled.groups);
        items = std::move(filled.items);
        return;
    }
    case WidgetFamily::extraLarge: {
        // No fill: groups and items are capped separately, items doubled when alone.
        sessions = prefix(snapshot.sessions, 4);
        groups = prefix(snapshot.groups, 3);
        items = prefix(sorted.items, sessions.empty() && groups.empty() ? 14 : 7);
        return;
    }
    case WidgetFamily::large:
        break;
    }
    // Large, and any other family.
    sessions = prefix(snapshot.sessions, 2);
    auto filled = fill(7 - sessionCount(), sorted, 2);
    groups = std::move(filled.groups);
    items = std::move(filled.items);
}

}
