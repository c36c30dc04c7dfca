// SPDX-License-Identifier: MIT
#include "Host/InstanceStore.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <filesystem>

using namespace quelm;
using quelm::host::InstanceStore;
using quelm::host::WidgetInstance;
using quelm::test::ScopedEnvironment;
using quelm::test::TemporaryDirectory;
using quelm::test::readFile;
using quelm::test::writeFile;

namespace {

QString qt(const std::filesystem::path& path)
{
    return QString::fromStdString(path.string());
}

WidgetInstance instance(const char* id, WidgetFamily family, WidgetSortOrder sortOrder, std::optional<QPoint> position)
{
    return WidgetInstance { QString::fromLatin1(id), family, sortOrder, position };
}

}

TEST(WidgetInstance, ANewInstanceHasAFreshIdAndTheDefaultConfiguration)
{
    const WidgetInstance first = WidgetInstance::placed(WidgetFamily::large);
    const WidgetInstance second = WidgetInstance::placed(WidgetFamily::large);
    EXPECT_FALSE(first.id.isEmpty());
    EXPECT_NE(first.id, second.id);
    EXPECT_EQ(first.family, WidgetFamily::large);
    EXPECT_EQ(first.sortOrder, WidgetSortOrder::category);
    EXPECT_EQ(first.configuration(), QuelmWidgetConfiguration());
    EXPECT_EQ(first.position, std::nullopt);
}

TEST(WidgetInstance, CarriesItsOwnConfigurationAndFamilyToTheProvider)
{
    const WidgetInstance placed = instance("x", WidgetFamily::small, WidgetSortOrder::recent, std::nullopt);
    EXPECT_EQ(placed.configuration().sortOrder, WidgetSortOrder::recent);
    EXPECT_EQ(placed.timelineContext(), (TimelineContext { WidgetFamily::small, false }));
}

TEST(InstanceStore, TheDefaultFileIsUnderTheConfigHome)
{
    {
        ScopedEnvironment config("XDG_CONFIG_HOME", "/somewhere/config");
        EXPECT_EQ(InstanceStore::defaultFilePath(), QStringLiteral("/somewhere/config/quelm/widgets.json"));
    }
    {
        ScopedEnvironment config("XDG_CONFIG_HOME", std::nullopt);
        ScopedEnvironment home("HOME", "/home/someone");
        EXPECT_EQ(InstanceStore::defaultFilePath(), QStringLiteral("/home/someone/.config/quelm/widgets.json"));
    }
    {
        // A relative XDG_CONFIG_HOME is not a config home.
        ScopedEnvironment config("XDG_CONFIG_HOME", "relative/config");
        ScopedEnvironment home("HOME", "/home/someone");
        EXPECT_EQ(InstanceStore::defaultFilePath(), QStringLiteral("/home/someone/.config/quelm/widgets.json"));
    }
    {
        ScopedEnvironment config("XDG_CONFIG_HOME", std::nullopt);
        ScopedEnvironment home("HOME", std::nullopt);
        EXPECT_EQ(InstanceStore::defaultFilePath(), std::nullopt);
    }
}

TEST(InstanceStore, WhatIsSavedLoadsBackTheSame)
{
    TemporaryDirectory directory;
    const InstanceStore store(qt(directory / "quelm" / "widgets.json"));
    const std::vector<WidgetInstance> instances {
        instance("A", WidgetFamily::small, WidgetSortOrder::category, QPoint(10, 20)),
        instance("B", WidgetFamily::medium, WidgetSortOrder::recent, std::nullopt),
        instance("C", WidgetFamily::large, WidgetSortOrder::recent, QPoint(-1200, 0)),
        instance("D", WidgetFamily::extraLarge, WidgetSortOrder::category, QPoint(1920, 1080)),
    };
    store.save(instances);

    const InstanceStore::Loaded loaded = store.load();
    EXPECT_EQ(loaded.problem, std::nullopt);
    EXPECT_EQ(loaded.instances, instances);
    // Nothing but the file itself is left in its folder.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory / "quelm"), {}), 1);
}

TEST(InstanceStore, SavingReplacesTheWholeList)
{
    TemporaryDirectory directory;
    const InstanceStore store(qt(directory / "widgets.json"));
    store.save({ instance("A", WidgetFamily::small, WidgetSortOrder::category, std::nullopt),
        instance("B", WidgetFamily::small, WidgetSortOrder::category, std::nullopt) });
    store.save({ instance("B", WidgetFamily::large, WidgetSortOrder::recent, QPoint(1, 2)) });
    EXPECT_EQ(store.load().instances, (std::vector { instance("B", WidgetFamily::large, WidgetSortOrder::recent, QPoint(1, 2)) }));
}

TEST(InstanceStore, AnEmptyListStaysEmpty)
{
    TemporaryDirectory directory;
    const InstanceStore store(qt(directory / "widgets.json"));
    store.save({});
    const InstanceStore::Loaded loaded = store.load();
    EXPECT_TRUE(loaded.instances.empty());
    EXPECT_EQ(loaded.problem, std::nullopt);
}

TEST(InstanceStore, WithoutAFileOneMediumWidgetIsPlaced)
{
    TemporaryDirectory directory;
    const InstanceStore store(qt(directory / "quelm" / "widgets.json"));
    const InstanceStore::Loaded loaded = store.load();
    ASSERT_EQ(loaded.instances.size(), 1u);
    EXPECT_EQ(loaded.instances[0].family, WidgetFamily::medium);
    EXPECT_EQ(loaded.instances[0].sortOrder, WidgetSortOrder::category);
    EXPECT_EQ(loaded.problem, std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(directory / "quelm" / "widgets.json.bad"));
}

TEST(InstanceStore, ADamagedFileIsMovedAsideAndOneMediumWidgetIsPlaced)
{
    for (const std::string& damaged : {
             std::string("{\"widgets\": [ {\"id\": \"A\", \"fam"),
             std::string("[]"),
             std::string("{\"widgets\": {}}"),
             std::string("\xff\xfe garbage"),
         }) {
        SCOPED_TRACE(damaged);
        TemporaryDirectory directory;
        const auto file = directory / "widgets.json";
        writeFile(file, damaged);
        const InstanceStore store(qt(file));

        const InstanceStore::Loaded loaded = store.load();
        ASSERT_EQ(loaded.instances.size(), 1u);
        EXPECT_EQ(loaded.instances[0].family, WidgetFamily::medium);
        ASSERT_TRUE(loaded.problem);
        EXPECT_TRUE(loaded.problem->contains(QStringLiteral("damaged")));
        EXPECT_TRUE(loaded.problem->contains(qt(file) + QStringLiteral(".bad")));
        EXPECT_TRUE(loaded.problem->contains(QStringLiteral("one medium widget")));
        EXPECT_TRUE(loaded.movedAside);

        EXPECT_FALSE(std::filesystem::exists(file));
        EXPECT_EQ(readFile(directory / "widgets.json.bad"), damaged);
    }
}

TEST(InstanceStore, ABadValueFallsBackForItsOwnWidgetAlone)
{
    TemporaryDirectory directory;
    const auto file = directory / "widgets.json";
    const std::string saved = R"({"widgets": [
        {"id": "A", "family": "small", "sortOrder": "Recent", "position": {"x": 10, "y": 20}},
        {"id": "B", "family": "systemHuge", "sortOrder": "recent", "position": {"x": 30, "y": 40}},
        {"family": "large", "position": {"x": 1.5, "y": 0}},
        {"id": "B", "family": "extraLarge", "position": "here"},
        7,
        {"id": "E", "family": "large", "sortOrder": "recent", "position": {"x": 50, "y": 60}}]})";
    writeFile(file, saved);

    const InstanceStore::Loaded loaded = InstanceStore(qt(file)).load();
    ASSERT_EQ(loaded.instances.size(), 5u);
    EXPECT_EQ(loaded.instances[0], instance("A", WidgetFamily::small, WidgetSortOrder::category, QPoint(10, 20)));
    EXPECT_EQ(loaded.instances[1], instance("B", WidgetFamily::medium, WidgetSortOrder::recent, QPoint(30, 40)));
    EXPECT_EQ(loaded.instances[2].family, WidgetFamily::large);
    EXPECT_FALSE(loaded.instances[2].id.isEmpty());
    EXPECT_EQ(loaded.instances[2].position, std::nullopt);
    EXPECT_EQ(loaded.instances[3].family, WidgetFamily::extraLarge);
    EXPECT_NE(loaded.instances[3].id, QStringLiteral("B"));
    EXPECT_NE(loaded.instances[3].id, loaded.instances[2].id);
    EXPECT_EQ(loaded.instances[3].position, std::nullopt);
    EXPECT_EQ(loaded.instances[4], instance("E", WidgetFamily::large, WidgetSortOrder::recent, QPoint(50, 60)));

    // The file stays where it is; the user is told what was read otherwise.
    EXPECT_FALSE(loaded.movedAside);
    EXPECT_EQ(readFile(file), saved);
    EXPECT_FALSE(std::filesystem::exists(directory / "widgets.json.bad"));
    ASSERT_TRUE(loaded.problem);
    EXPECT_TRUE(loaded.problem->contains(QStringLiteral("widgets[0]: unknown sort order \"Recent\"; sorted by category")));
    EXPECT_TRUE(loaded.problem->contains(QStringLiteral("widgets[1]: unknown family \"systemHuge\"; shown medium")));
    EXPECT_TRUE(loaded.problem->contains(QStringLiteral("widgets[2]: no id")));
    EXPECT_TRUE(loaded.problem->contains(QStringLiteral("widgets[3]: the id B is used twice")));
    EXPECT_TRUE(loaded.problem->contains(QStringLiteral("widgets[4]: not a widget")));
}

TEST(InstanceStore, AFileWithoutBadValuesHasNothingToSay)
{
    TemporaryDirectory directory;
    writeFile(directory / "widgets.json", R"({"widgets": [{"id": "A", "family": "small", "sortOrder": "recent"}]})");
    const InstanceStore::Loaded loaded = InstanceStore(qt(directory / "widgets.json")).load();
    ASSERT_EQ(loaded.instances.size(), 1u);
    EXPECT_EQ(loaded.problem, std::nullopt);
    EXPECT_FALSE(loaded.movedAside);
}

TEST(InstanceStore, AnOlderDamagedCopyIsReplaced)
{
    TemporaryDirectory directory;
    writeFile(directory / "widgets.json.bad", "old");
    writeFile(directory / "widgets.json", "new and broken");
    InstanceStore(qt(directory / "widgets.json")).load();
    EXPECT_EQ(readFile(directory / "widgets.json.bad"), "new and broken");
}

TEST(InstanceStore, AnInstanceWithoutASortOrderSortsByCategory)
{
    const auto instances = InstanceStore::decode(R"({"widgets": [{"id": "A", "family": "large"}]})");
    ASSERT_EQ(instances.size(), 1u);
    EXPECT_EQ(instances[0].sortOrder, WidgetSortOrder::category);
    EXPECT_EQ(instances[0].position, std::nullopt);
}

TEST(InstanceStore, AFileOfAnEarlierVersionLoadsWithItsFamilies)
{
    const auto instances = InstanceStore::decode(R"({"widgets": [
        {"id": "A", "family": "systemSmall"}, {"id": "B", "family": "systemMedium"},
        {"id": "C", "family": "systemLarge"}, {"id": "D", "family": "systemExtraLarge"}]})");
    ASSERT_EQ(instances.size(), 4u);
    EXPECT_EQ(instances[0].family, WidgetFamily::small);
    EXPECT_EQ(instances[1].family, WidgetFamily::medium);
    EXPECT_EQ(instances[2].family, WidgetFamily::large);
    EXPECT_EQ(instances[3].family, WidgetFamily::extraLarge);
    // Saved again, it holds today's names.
    const QJsonDocument saved = QJsonDocument::fromJson(InstanceStore::encode(instances));
    EXPECT_EQ(saved.object().value(QStringLiteral("widgets")).toArray().at(0).toObject().value(QStringLiteral("family")).toString(),
        QStringLiteral("small"));
}

TEST(InstanceStore, TheFileIsReadableJson)
{
    const QByteArray bytes = InstanceStore::encode({ instance("A", WidgetFamily::extraLarge, WidgetSortOrder::recent, QPoint(5, 6)) });
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    const auto widget = document.object().value(QStringLiteral("widgets")).toArray().at(0).toObject();
    EXPECT_EQ(widget.value(QStringLiteral("id")).toString(), QStringLiteral("A"));
    EXPECT_EQ(widget.value(QStringLiteral("family")).toString(), QStringLiteral("extraLarge"));
    EXPECT_EQ(widget.value(QStringLiteral("sortOrder")).toString(), QStringLiteral("recent"));
    EXPECT_EQ(widget.value(QStringLiteral("position")).toObject().value(QStringLiteral("x")).toInt(), 5);
}

TEST(InstanceStore, SavingWhereNoFileCanBeWrittenThrows)
{
    TemporaryDirectory directory;
    writeFile(directory / "not-a-folder", "");
    const InstanceStore store(qt(directory / "not-a-folder" / "widgets.json"));
    EXPECT_THROW(store.save({}), std::runtime_error);
}
