#include "RequestedToggles.h"

#include <gtest/gtest.h>

using namespace quelm;
using quelm::host::RequestedToggles;
using Action = WidgetCommand::Action;

TEST(RequestedToggles, AClickShowsItsItemPendingWithItsAction)
{
    RequestedToggles requested;
    requested.add(ToggleItemIntent("c", true));
    requested.add(ToggleItemIntent("a", false));
    const Entry shown = requested.appliedTo(Entry::sample());
    EXPECT_EQ(shown.pending, (Entry::Pending { { "a", Action::stop }, { "c", Action::start } }));
    EXPECT_EQ(shown.snapshot, Entry::sample().snapshot);
}

TEST(RequestedToggles, AnIntentWithoutItemOrActionShowsNothing)
{
    RequestedToggles requested;
    requested.add(ToggleItemIntent());
    ToggleItemIntent withoutAction;
    withoutAction.itemID = "c";
    requested.add(withoutAction);
    EXPECT_TRUE(requested.empty());
    EXPECT_TRUE(requested.appliedTo(Entry::sample()).pending.empty());
}

TEST(RequestedToggles, TheLatestClickOnAnItemWinsOverItsMark)
{
    RequestedToggles requested;
    requested.add(ToggleItemIntent("c", true));
    requested.add(ToggleItemIntent("c", false));
    Entry marked = Entry::sample();
    marked.pending = { { "c", Action::start }, { "e", Action::start } };
    EXPECT_EQ(requested.appliedTo(marked).pending, (Entry::Pending { { "c", Action::stop }, { "e", Action::start } }));
}

TEST(RequestedToggles, ARequestLastsUntilItsIntentHasEndedAndAnEntryHasCome)
{
    RequestedToggles requested;
    requested.add(ToggleItemIntent("c", true));
    requested.add(ToggleItemIntent("e", true));

    // An entry that comes while the intent still runs does not end the request.
    requested.dropEnded();
    EXPECT_TRUE(requested.appliedTo(Entry::sample()).pending.contains("c"));

    requested.end("c");
    EXPECT_TRUE(requested.appliedTo(Entry::sample()).pending.contains("c"));
    requested.dropEnded();
    EXPECT_EQ(requested.appliedTo(Entry::sample()).pending, (Entry::Pending { { "e", Action::start } }));

    requested.end("unknown");
    requested.end("e");
    requested.dropEnded();
    EXPECT_TRUE(requested.empty());
}
