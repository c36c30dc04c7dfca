// SPDX-License-Identifier: MIT
#include "Timeline/TimelineEntry.h"
#include "Timeline/TimelineProvider.h"
#include "Widget/QuelmWidgetConfiguration.h"
#include "Widget/WidgetSortOrder.h"

#include <gtest/gtest.h>

#include <unordered_set>
#include <vector>

using namespace quelm;

TEST(QuelmWidgetConfiguration, IsTitledQuelm)
{
    EXPECT_EQ(QuelmWidgetConfiguration::title, "Quelm");
}

TEST(QuelmWidgetConfiguration, AWidgetNeverEditedSortsByCategory)
{
    const QuelmWidgetConfiguration configuration;
    EXPECT_EQ(configuration.sortOrder, WidgetSortOrder::category);
    EXPECT_EQ(QuelmWidgetConfiguration::defaultSortOrder, WidgetSortOrder::category);
}

TEST(QuelmWidgetConfiguration, CarriesTheChosenSortOrder)
{
    QuelmWidgetConfiguration configuration(WidgetSortOrder::recent);
    EXPECT_EQ(configuration.sortOrder, WidgetSortOrder::recent);
    configuration.sortOrder = WidgetSortOrder::category;
    EXPECT_EQ(configuration, QuelmWidgetConfiguration());
    EXPECT_NE(configuration, QuelmWidgetConfiguration(WidgetSortOrder::recent));
}

TEST(QuelmWidgetConfiguration, SortOrderParameterIsOrdenarPorWithCategoryByDefault)
{
    const auto& parameter = QuelmWidgetConfiguration::sortOrderParameter();
    EXPECT_EQ(parameter.name, "sortOrder");
    EXPECT_EQ(parameter.title, "Ordenar por");
    EXPECT_EQ(parameter.defaultValue, WidgetSortOrder::category);
    EXPECT_EQ(std::vector<WidgetSortOrder>(parameter.options.begin(), parameter.options.end()),
        (std::vector<WidgetSortOrder> { WidgetSortOrder::category, WidgetSortOrder::recent }));
}

TEST(WidgetSortOrder, RawValues)
{
    EXPECT_EQ(rawValue(WidgetSortOrder::category), "category");
    EXPECT_EQ(rawValue(WidgetSortOrder::recent), "recent");
}

TEST(WidgetSortOrder, DecodesExactlyItsTwoRawValues)
{
    EXPECT_EQ(fromRawValue<WidgetSortOrder>("recent"), WidgetSortOrder::recent);
    EXPECT_EQ(fromRawValue<WidgetSortOrder>("category"), WidgetSortOrder::category);
    for (const char* other : { "Recent", "RECENT", "Category", "", " recent", "recent ", "recency", "tipo" })
        EXPECT_FALSE(fromRawValue<WidgetSortOrder>(other).has_value()) << '"' << other << '"';
}

TEST(WidgetSortOrder, RoundTripsEveryCase)
{
    for (const auto order : WidgetSortOrderInfo::allCases)
        EXPECT_EQ(fromRawValue<WidgetSortOrder>(rawValue(order)), order);
}

TEST(WidgetSortOrder, ListsCategoryThenRecent)
{
    ASSERT_EQ(WidgetSortOrderInfo::allCases.size(), 2u);
    EXPECT_EQ(WidgetSortOrderInfo::allCases[0], WidgetSortOrder::category);
    EXPECT_EQ(WidgetSortOrderInfo::allCases[1], WidgetSortOrder::recent);
}

TEST(WidgetSortOrder, DisplaysPortugueseTitles)
{
    EXPECT_EQ(WidgetSortOrderInfo::typeDisplayName, "Ordem");
    EXPECT_EQ(WidgetSortOrderInfo::displayText(WidgetSortOrder::category), "Tipo de processo");
    EXPECT_EQ(WidgetSortOrderInfo::displayText(WidgetSortOrder::recent), "Iniciados por último");
}

TEST(WidgetSortOrder, ComparesAndHashesByCase)
{
    EXPECT_EQ(WidgetSortOrder::recent, *fromRawValue<WidgetSortOrder>("recent"));
    EXPECT_NE(WidgetSortOrder::recent, WidgetSortOrder::category);
    const std::unordered_set<WidgetSortOrder> set { WidgetSortOrder::category, WidgetSortOrder::recent, WidgetSortOrder::category };
    EXPECT_EQ(set.size(), 2u);
}

TEST(QuelmWidgetConfiguration, ReachesTheEntryThroughThePreview)
{
    const TimelineProvider provider;
    EXPECT_EQ(provider.snapshot(QuelmWidgetConfiguration(), { WidgetFamily::small, true }).sortOrder, WidgetSortOrder::category);
    EXPECT_EQ(provider.snapshot(QuelmWidgetConfiguration(WidgetSortOrder::recent), { WidgetFamily::small, true }).sortOrder,
        WidgetSortOrder::recent);
    EXPECT_EQ(provider.placeholder({}).sortOrder, WidgetSortOrder::category);
}
