// SPDX-License-Identifier: MIT
#include "Layout/ItemColumns.h"

#include <gtest/gtest.h>

namespace quelm {
namespace {

std::vector<WidgetItem> items(std::size_t count)
{
    std::vector<WidgetItem> result;
    for (std::size_t i = 0; i < count; ++i)
        result.push_back(WidgetItem { std::to_string(i), "T", "node", false });
    return result;
}

std::vector<std::size_t> sizes(const std::vector<std::vector<WidgetItem>>& columns)
{
    std::vector<std::size_t> result;
    for (const auto& column : columns)
        result.push_back(column.size());
    return result;
}

TEST(ItemColumnsTests, NoItemsGiveNoColumns)
{
    EXPECT_TRUE(itemColumns({}).empty());
}

TEST(ItemColumnsTests, FifteenItemsGiveSevenSevenAndOne)
{
    const auto columns = itemColumns(items(15));
    EXPECT_EQ(sizes(columns), (std::vector<std::size_t> { 7, 7, 1 }));
    EXPECT_EQ(columns[0].front().id, "0");
    EXPECT_EQ(columns[0].back().id, "6");
    EXPECT_EQ(columns[1].front().id, "7");
    EXPECT_EQ(columns[1].back().id, "13");
    EXPECT_EQ(columns[2].front().id, "14");
}

TEST(ItemColumnsTests, LastColumnHoldsTheRemainder)
{
    EXPECT_EQ(sizes(itemColumns(items(1))), (std::vector<std::size_t> { 1 }));
    EXPECT_EQ(sizes(itemColumns(items(7))), (std::vector<std::size_t> { 7 }));
    EXPECT_EQ(sizes(itemColumns(items(8))), (std::vector<std::size_t> { 7, 1 }));
    EXPECT_EQ(sizes(itemColumns(items(14))), (std::vector<std::size_t> { 7, 7 }));
}

TEST(ItemColumnsTests, NotCapped)
{
    EXPECT_EQ(itemColumns(items(50)).size(), 8u);
    EXPECT_EQ(itemColumns(items(50)).back().size(), 1u);
}

TEST(ItemColumnsTests, KeepsEveryItemInOrder)
{
    const auto all = items(23);
    std::vector<WidgetItem> joined;
    for (const auto& column : itemColumns(all))
        joined.insert(joined.end(), column.begin(), column.end());
    EXPECT_EQ(joined, all);
}

}
}
