// SPDX-License-Identifier: MIT
#include "Host/ClicksInFlight.h"

#include <gtest/gtest.h>

using namespace quelm;
using quelm::host::ClicksInFlight;
using Action = WidgetCommand::Action;

TEST(ClicksInFlight, AClickShowsItsItemPendingWithItsAction)
{
    ClicksInFlight requested;
    requested.add(ToggleItemIntent("c", true));
    requested.add(ToggleItemIntent("a", false));
    const TimelineEntry shown = requested.appliedTo(TimelineEntry::sample());
    EXPECT_EQ(shown.pending, (TimelineEntry::PendingActions { { "a", Action::stop }, { "c", Action::start } }));
    EXPECT_EQ(shown.snapshot, TimelineEntry::sample().snapshot);
}

TEST(ClicksInFlight, AnIntentWithoutItemOrActionShowsNothing)
{
    ClicksInFlight requested;
    requested.add(ToggleItemIntent());
    ToggleItemIntent withoutAction;
    withoutAction.itemID = "c";
    requested.add(withoutAction);
    EXPECT_TRUE(requested.empty());
    EXPECT_TRUE(requested.appliedTo(TimelineEntry::sample()).pending.empty());
}

TEST(ClicksInFlight, TheLatestClickOnAnItemWinsOverItsMark)
{
    ClicksInFlight requested;
    requested.add(ToggleItemIntent("c", true));
    requested.add(ToggleItemIntent("c", false));
    TimelineEntry marked = TimelineEntry::sample();
    marked.pending = { { "c", Action::start }, { "e", Action::start } };
    EXPECT_EQ(requested.appliedTo(marked).pending, (TimelineEntry::PendingActions { { "c", Action::stop }, { "e", Action::start } }));
}

TEST(ClicksInFlight, ARequestLastsUntilItsIntentHasEndedAndAnEntryHasCome)
{
    ClicksInFlight requested;
    requested.add(ToggleItemIntent("c", true));
    requested.add(ToggleItemIntent("e", true));

    // An entry that comes while the intent still runs does not end the request.
    requested.dropEnded();
    EXPECT_TRUE(requested.appliedTo(TimelineEntry::sample()).pending.contains("c"));

    requested.end("c");
    EXPECT_TRUE(requested.appliedTo(TimelineEntry::sample()).pending.contains("c"));
    requested.dropEnded();
    EXPECT_EQ(requested.appliedTo(TimelineEntry::sample()).pending, (TimelineEntry::PendingActions { { "e", Action::start } }));

    requested.end("unknown");
    requested.end("e");
    requested.dropEnded();
    EXPECT_TRUE(requested.empty());
}
