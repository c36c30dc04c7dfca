// SPDX-License-Identifier: MIT
// The sample entry in every family and app status, compared with the files in tests/golden/:
// the laid-out view trees exactly, the painted images within a small per-pixel tolerance.
// Regenerate them with scripts/update-goldens.sh (and look at the images before keeping them).

#include "TestSupport.h"
#include "ViewsTestSupport.h"

#include "Views/ViewTreeJson.h"

#include <QImage>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

using namespace quelm;
using namespace quelm::test;

namespace {

const std::filesystem::path goldenFolder = std::filesystem::path(QUELM_SOURCE_DIR) / "tests" / "golden";

constexpr std::array families {
    std::pair { WidgetFamily::small, "small" },
    std::pair { WidgetFamily::medium, "medium" },
    std::pair { WidgetFamily::large, "large" },
    std::pair { WidgetFamily::extraLarge, "extraLarge" },
};

constexpr std::array statuses {
    SharedStore::AppStatus::running,
    SharedStore::AppStatus::notRunning,
    SharedStore::AppStatus::noAccess,
};

// How far one colour channel of one pixel may stray from the golden image: font rasterisers and
// compilers may round a little differently, a layout change moves whole glyphs.
constexpr int channelTolerance = 8;

class GoldenTest : public ViewsTest { };

views::RenderedWidget sample(WidgetFamily family, SharedStore::AppStatus status)
{
    TimelineEntry entry = TimelineEntry::sample(fixedNow);
    entry.appStatus = status;
    return render(entry, family);
}

int largestChannelDifference(QRgb a, QRgb b)
{
    return std::max({ std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)), std::abs(qBlue(a) - qBlue(b)),
        std::abs(qAlpha(a) - qAlpha(b)) });
}

}

TEST_F(GoldenTest, ViewTreesMatchTheGoldenFiles)
{
    for (const auto& [family, name] : families) {
        for (const SharedStore::AppStatus status : statuses) {
            const std::string file = std::string(name) + "-" + std::string(rawValue(status)) + ".json";
            SCOPED_TRACE(file);
            const auto path = goldenFolder / file;
            ASSERT_TRUE(std::filesystem::exists(path)) << "missing; run scripts/update-goldens.sh";
            const std::string rendered
                = views::widgetJson(sample(family, status)).dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
            EXPECT_EQ(rendered, readFile(path));
        }
    }
}

TEST_F(GoldenTest, ImagesMatchTheGoldenImages)
{
    for (const auto& [family, name] : families) {
        const std::string file = std::string(name) + ".png";
        SCOPED_TRACE(file);
        QImage golden(QString::fromStdString((goldenFolder / file).string()));
        ASSERT_FALSE(golden.isNull()) << "missing or unreadable; run scripts/update-goldens.sh";
        golden = golden.convertToFormat(QImage::Format_ARGB32);
        const QImage painted = views::paintWidget(sample(family, SharedStore::AppStatus::running), 2).convertToFormat(QImage::Format_ARGB32);
        ASSERT_EQ(painted.size(), golden.size());

        int worst = 0;
        QPoint worstAt;
        for (int y = 0; y < golden.height(); ++y) {
            const auto* expected = reinterpret_cast<const QRgb*>(golden.constScanLine(y));
            const auto* actual = reinterpret_cast<const QRgb*>(painted.constScanLine(y));
            for (int x = 0; x < golden.width(); ++x) {
                const int difference = largestChannelDifference(expected[x], actual[x]);
                if (difference > worst) {
                    worst = difference;
                    worstAt = QPoint(x, y);
                }
            }
        }
        EXPECT_LE(worst, channelTolerance) << "at pixel " << worstAt.x() << "," << worstAt.y();
    }
}
