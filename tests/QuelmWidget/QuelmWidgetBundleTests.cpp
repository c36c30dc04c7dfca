#include "Entry.h"
#include "QuelmWidgetBundle.h"
#include "TimelineContext.h"
#include "WidgetContent.h"

#include <quelm/SharedConstants.h>

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

using namespace quelm;

namespace {

Entry runningEntry()
{
    Entry entry = Entry::sample();
    entry.appStatus = SharedStore::AppStatus::running;
    return entry;
}

}

TEST(QuelmWidgetBundle, HoldsExactlyOneWidget)
{
    const QuelmWidgetBundle bundle;
    ASSERT_EQ(bundle.body().size(), 1u);
    EXPECT_EQ(&bundle.body()[0], &bundle.widget());
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
    EXPECT_EQ(families, (std::vector { WidgetFamily::systemSmall, WidgetFamily::systemMedium, WidgetFamily::systemLarge, WidgetFamily::systemExtraLarge }));
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
    const QuelmWidgetBundle bundle(Provider([] { return Date(1'700'000'000); }));
    const Entry preview = bundle.widget().provider.snapshot(QuelmWidgetConfiguration(WidgetSortOrder::recent),
        TimelineContext { WidgetFamily::systemMedium, true });
    EXPECT_EQ(preview.snapshot, Entry::sample().snapshot);
    EXPECT_EQ(preview.sortOrder, WidgetSortOrder::recent);
}

TEST(QuelmWidgetBundle, TheViewOfEachDeclaredFamilyTakesThatFamily)
{
    const QuelmWidgetBundle bundle;
    const QuelmWidget& widget = bundle.widget();
    const Entry entry = runningEntry();
    const std::pair<WidgetFamily, WidgetContent::Kind> expected[] = {
        { WidgetFamily::systemSmall, WidgetContent::Kind::small },
        { WidgetFamily::systemMedium, WidgetContent::Kind::medium },
        { WidgetFamily::systemLarge, WidgetContent::Kind::large },
        { WidgetFamily::systemExtraLarge, WidgetContent::Kind::extraLarge },
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
    EXPECT_EQ(view.family, WidgetFamily::systemLarge);
    EXPECT_EQ(view.content.kind, WidgetContent::Kind::large);
}

TEST(QuelmWidgetBundle, AViewOfAnotherFamilyStillShowsTheAppStatusMessage)
{
    Entry entry = runningEntry();
    entry.appStatus = SharedStore::AppStatus::notRunning;
    EXPECT_EQ(QuelmWidget::view(entry, static_cast<WidgetFamily>(42)).content.kind, WidgetContent::Kind::closedMessage);
}
