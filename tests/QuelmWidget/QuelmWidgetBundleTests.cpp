// SPDX-License-Identifier: MIT
#include "Timeline/TimelineEntry.h"
#include "Widget/QuelmWidgetBundle.h"
#include "Timeline/TimelineContext.h"
#include "Layout/WidgetContent.h"

#include <quelm/SharedConstants.h>

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

using namespace quelm;

namespace {

TimelineEntry runningEntry()
{
    TimelineEntry entry = TimelineEntry::sample();
    entry.appStatus = SharedStore::AppStatus::running;
    return entry;
}

}

TEST(WidgetFamily, SizesInPoints)
{
    EXPECT_EQ(familySize(WidgetFamily::small), (WidgetSize { 170, 170 }));
    EXPECT_EQ(familySize(WidgetFamily::medium), (WidgetSize { 364, 170 }));
    EXPECT_EQ(familySize(WidgetFamily::large), (WidgetSize { 364, 382 }));
    EXPECT_EQ(familySize(WidgetFamily::extraLarge), (WidgetSize { 766, 382 }));
    EXPECT_EQ(widgetCornerRadius, 22);
    EXPECT_EQ(widgetContentMargin, 16);
}

TEST(WidgetFamily, NamesAndTheNamesOfEarlierVersions)
{
    EXPECT_EQ(rawValue(WidgetFamily::extraLarge), "extraLarge");
    EXPECT_EQ(parseWidgetFamily("medium"), WidgetFamily::medium);
    EXPECT_EQ(parseWidgetFamily("systemMedium"), WidgetFamily::medium);
    EXPECT_EQ(parseWidgetFamily("Medium"), std::nullopt);
}

TEST(QuelmWidgetBundle, TheWidgetRegistersUnderTheSharedKind)
{
    EXPECT_EQ(QuelmWidget::kind, SharedConstants::widgetKind);
    EXPECT_EQ(QuelmWidget::kind, "QuelmWidget");
}

TEST(QuelmWidgetBundle, NamesAndDescription)
{
    EXPECT_EQ(QuelmWidget::configurationDisplayName, "Quelm");
    EXPECT_EQ(QuelmWidget::description, "O que está rodando na sua máquina, com iniciar e parar.");
}

TEST(QuelmWidgetBundle, OffersExactlyTheFourFamiliesInOrder)
{
    const std::vector<WidgetFamily> families(QuelmWidget::supportedFamilies.begin(), QuelmWidget::supportedFamilies.end());
    EXPECT_EQ(families, (std::vector { WidgetFamily::small, WidgetFamily::medium, WidgetFamily::large, WidgetFamily::extraLarge }));
    for (const WidgetFamily family : families)
        EXPECT_TRUE(QuelmWidget::supports(family));
    EXPECT_FALSE(QuelmWidget::supports(static_cast<WidgetFamily>(7)));
}

TEST(QuelmWidgetBundle, TheConfigurationIntentIsQuelmWidgetConfigurationAtItsDefaults)
{
    static_assert(std::is_same_v<QuelmWidget::Configuration, QuelmWidgetConfiguration>);
    EXPECT_EQ(QuelmWidget::makeConfiguration(), QuelmWidgetConfiguration());
    EXPECT_EQ(QuelmWidget::makeConfiguration().sortOrder, WidgetSortOrder::category);
}

TEST(QuelmWidgetBundle, TheProviderAnswersWithTheConfiguredSortOrder)
{
    const QuelmWidgetBundle bundle(TimelineProvider([] { return Date(1'700'000'000); }));
    const TimelineEntry preview = bundle.widget().provider.snapshot(QuelmWidgetConfiguration(WidgetSortOrder::recent),
        TimelineContext { WidgetFamily::medium, true });
    EXPECT_EQ(preview.snapshot, TimelineEntry::sample().snapshot);
    EXPECT_EQ(preview.sortOrder, WidgetSortOrder::recent);
}

TEST(QuelmWidgetBundle, TheViewOfEachDeclaredFamilyTakesThatFamily)
{
    const QuelmWidgetBundle bundle;
    const QuelmWidget& widget = bundle.widget();
    const TimelineEntry entry = runningEntry();
    const std::pair<WidgetFamily, WidgetContent::Kind> expected[] = {
        { WidgetFamily::small, WidgetContent::Kind::small },
        { WidgetFamily::medium, WidgetContent::Kind::medium },
        { WidgetFamily::large, WidgetContent::Kind::large },
        { WidgetFamily::extraLarge, WidgetContent::Kind::extraLarge },
    };
    for (const auto& [family, kind] : expected) {
        const WidgetView view = widget.content(entry, family);
        EXPECT_EQ(view.family, family);
        EXPECT_EQ(view.content.kind, kind);
        EXPECT_EQ(view.entry, entry);
    }
}

TEST(QuelmWidgetBundle, AViewAskedForAnotherFamilyShowsTheLargeLayout)
{
    const WidgetView view = QuelmWidgetBundle().widget().content(runningEntry(), static_cast<WidgetFamily>(42));
    EXPECT_EQ(view.family, WidgetFamily::large);
    EXPECT_EQ(view.content.kind, WidgetContent::Kind::large);
}

TEST(QuelmWidgetBundle, AViewOfAnotherFamilyStillShowsTheAppStatusMessage)
{
    TimelineEntry entry = runningEntry();
    entry.appStatus = SharedStore::AppStatus::notRunning;
    EXPECT_EQ(QuelmWidget::view(entry, static_cast<WidgetFamily>(42)).content.kind, WidgetContent::Kind::closedMessage);
}
