// SPDX-License-Identifier: MIT
#include "Host/WidgetGallery.h"

#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QToolButton>

using namespace quelm;
using namespace quelm::host;

namespace {

class WidgetGalleryTest : public test::HostTest { };

}

TEST_F(WidgetGalleryTest, OffersTheDeclaredFamiliesInOrder)
{
    const QuelmWidgetBundle bundle;
    const WidgetGallery gallery(bundle.widget(), views::Palette());
    EXPECT_EQ(gallery.families(), (std::vector { WidgetFamily::small, WidgetFamily::medium, WidgetFamily::large, WidgetFamily::extraLarge }));
    const auto buttons = gallery.findChildren<QToolButton*>();
    ASSERT_EQ(buttons.size(), 4);
    EXPECT_EQ(buttons[0]->text(), QStringLiteral("Pequeno"));
    EXPECT_EQ(buttons[1]->text(), QStringLiteral("Médio"));
    EXPECT_EQ(buttons[2]->text(), QStringLiteral("Grande"));
    EXPECT_EQ(buttons[3]->text(), QStringLiteral("Extragrande"));
    EXPECT_FALSE(gallery.windowIcon().isNull()) << "the gallery is a window of its own, with the brand mark";
}

TEST_F(WidgetGalleryTest, EveryFamilyGetsAPreviewOfTheSample)
{
    // A live container that would look different: previews still show the sample.
    WidgetSnapshot live;
    live.items = { WidgetItem { "only", "only", "node", true } };
    store().writeSnapshot(live);
    store().touchHeartbeat(Date::now());

    const QuelmWidgetBundle bundle;
    WidgetGallery gallery(bundle.widget(), views::Palette());
    QSignalSpy ready(&gallery, &WidgetGallery::previewsReady);
    ASSERT_TRUE(ready.count() > 0 || ready.wait(test::eventDeadlineMilliseconds));
    for (const WidgetFamily family : gallery.families())
        EXPECT_TRUE(gallery.hasPreview(family));
    const auto buttons = gallery.findChildren<QToolButton*>();
    EXPECT_EQ(buttons[3]->iconSize(), QSize(383, 191));
    EXPECT_FALSE(buttons[3]->icon().isNull());
}

TEST_F(WidgetGalleryTest, ChoosingAPreviewPlacesThatFamily)
{
    const QuelmWidgetBundle bundle;
    WidgetGallery gallery(bundle.widget(), views::Palette());
    gallery.show();
    QSignalSpy chosen(&gallery, &WidgetGallery::familyChosen);
    gallery.findChildren<QToolButton*>()[2]->click();
    ASSERT_EQ(chosen.count(), 1);
    EXPECT_EQ(chosen.at(0).at(0).value<WidgetFamily>(), WidgetFamily::large);
    EXPECT_FALSE(gallery.isVisible());
}
