// SPDX-License-Identifier: MIT
#include "Host/ConfigurationDialog.h"

#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QSignalSpy>

using namespace quelm;
using namespace quelm::host;

namespace {

class ConfigurationDialogTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { test::hostApplication(); }
};

}

TEST_F(ConfigurationDialogTest, OffersOrdenarPorWithTheTwoDisplayTexts)
{
    const ConfigurationDialog dialog(WidgetSortOrder::category);
    const auto* combo = dialog.findChild<QComboBox*>();
    ASSERT_NE(combo, nullptr);
    ASSERT_EQ(combo->count(), 2);
    EXPECT_EQ(combo->itemText(0), QStringLiteral("Tipo de processo"));
    EXPECT_EQ(combo->itemText(1), QStringLiteral("Iniciados por último"));
    EXPECT_EQ(combo->currentIndex(), 0);

    const auto* form = dialog.findChild<QFormLayout*>();
    ASSERT_NE(form, nullptr);
    const auto* label = qobject_cast<QLabel*>(form->labelForField(const_cast<QComboBox*>(combo)));
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(label->text(), QStringLiteral("Ordenar por"));
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Quelm"));
    EXPECT_FALSE(dialog.windowIcon().isNull());
}

TEST_F(ConfigurationDialogTest, ShowsTheInstancesCurrentOrder)
{
    const ConfigurationDialog dialog(WidgetSortOrder::recent);
    EXPECT_EQ(dialog.sortOrder(), WidgetSortOrder::recent);
    EXPECT_EQ(dialog.findChild<QComboBox*>()->currentIndex(), 1);
}

TEST_F(ConfigurationDialogTest, AChoiceAppliesAtOnce)
{
    ConfigurationDialog dialog(WidgetSortOrder::category);
    QSignalSpy chosen(&dialog, &ConfigurationDialog::sortOrderChosen);
    dialog.findChild<QComboBox*>()->setCurrentIndex(1);
    ASSERT_EQ(chosen.count(), 1);
    EXPECT_EQ(chosen.at(0).at(0).value<WidgetSortOrder>(), WidgetSortOrder::recent);
    dialog.choose(WidgetSortOrder::recent);
    EXPECT_EQ(chosen.count(), 1);
}
