// SPDX-License-Identifier: MIT
#include "Host/ApplicationIcon.h"

#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QIcon>
#include <QImage>
#include <QPixmap>
#include <QStringList>

#include <filesystem>

using namespace quelm::host;
using quelm::test::TemporaryDirectory;

namespace {

class ApplicationIcon : public ::testing::Test {
protected:
    static void SetUpTestSuite() { quelm::test::hostApplication(); }

    void SetUp() override
    {
        m_searchPaths = QIcon::themeSearchPaths();
        m_themeName = QIcon::themeName();
    }
    void TearDown() override
    {
        QIcon::setThemeSearchPaths(m_searchPaths);
        QIcon::setThemeName(m_themeName);
    }

private:
    QStringList m_searchPaths;
    QString m_themeName;
};

// Some pixel of the drawn icon is not transparent.
bool drawsSomething(const QIcon& icon)
{
    const QImage image = icon.pixmap(64, 64).toImage();
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 0)
                return true;
        }
    }
    return false;
}

}

TEST_F(ApplicationIcon, FallsBackOnTheBuiltInMarkWithoutTheThemesIcon)
{
    TemporaryDirectory empty;
    QIcon::setThemeSearchPaths({ QString::fromStdString(empty.path().string()) });
    QIcon::setThemeName(QStringLiteral("hicolor"));
    const QIcon icon = applicationIcon();
    ASSERT_FALSE(icon.isNull());
    EXPECT_TRUE(drawsSomething(icon));
}

TEST_F(ApplicationIcon, ComesFromTheIconThemeWhenInstalled)
{
    TemporaryDirectory themes;
    const QString root = QString::fromStdString(themes.path().string());
    std::filesystem::create_directories(themes / "hicolor" / "scalable" / "apps");
    quelm::test::writeFile(themes / "hicolor" / "index.theme",
        "[Icon Theme]\nName=Hicolor\nDirectories=scalable/apps\n\n[scalable/apps]\nSize=64\nMinSize=8\nMaxSize=512\nType=Scalable\n");
    QFile builtIn(QStringLiteral(":/quelm/icon/dev.quelm.Quelm.svg"));
    ASSERT_TRUE(builtIn.open(QIODevice::ReadOnly));
    quelm::test::writeFile(themes / "hicolor" / "scalable" / "apps" / "dev.quelm.Quelm.svg", builtIn.readAll().toStdString());

    QIcon::setThemeSearchPaths({ root });
    QIcon::setThemeName(QStringLiteral("hicolor"));
    const QIcon icon = applicationIcon();
    EXPECT_EQ(icon.name(), QStringLiteral("dev.quelm.Quelm"));
    EXPECT_TRUE(drawsSomething(icon));
}
