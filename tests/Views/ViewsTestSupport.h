// SPDX-License-Identifier: MIT
#pragma once

// Helpers of the view tests: a headless Qt application, renders of an entry with a fixed clock
// and locale, and searches through the laid-out tree.

#include "Views/QuelmWidgetView.h"
#include "Views/ViewTree.h"
#include "Views/WidgetRenderer.h"

#include <gtest/gtest.h>

#include <QGuiApplication>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace quelm::test {

// The clock and locale of every view test: relative times and numbers never depend on the machine.
inline constexpr Date fixedNow { 1700000000 };
inline constexpr const char* fixedLocale = "pt_BR.UTF-8";

inline QGuiApplication& qtApplication()
{
    static std::unique_ptr<QGuiApplication> application = [] {
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
        static int argc = 1;
        static char name[] = "quelm-views-tests";
        static char* argv[] = { name, nullptr };
        return std::make_unique<QGuiApplication>(argc, argv);
    }();
    return *application;
}

class ViewsTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { qtApplication(); }
};

inline views::RenderOptions fixedOptions()
{
    views::RenderOptions options;
    options.now = fixedNow;
    options.currentLocale = fixedLocale;
    return options;
}

inline views::RenderedWidget render(const TimelineEntry& entry, WidgetFamily family)
{
    return views::renderWidget(entry, family, fixedOptions());
}

inline TimelineEntry runningEntry(WidgetSnapshot snapshot)
{
    TimelineEntry entry;
    entry.date = fixedNow;
    entry.snapshot = std::move(snapshot);
    entry.appStatus = SharedStore::AppStatus::running;
    return entry;
}

inline WidgetItem item(std::string id, bool running, std::string category = "node")
{
    WidgetItem result { id, id + " title", std::move(category), running };
    return result;
}

template<typename T>
std::vector<const views::ViewNode*> all(const views::ViewNode& root)
{
    return views::nodesOfType<T>(root);
}

// The texts as shown, in reading order.
inline std::vector<std::string> shownTexts(const views::ViewNode& root)
{
    std::vector<std::string> texts;
    for (const views::ViewNode* node : all<views::node::Text>(root))
        texts.push_back(node->as<views::node::Text>()->shown);
    return texts;
}

inline bool showsText(const views::ViewNode& root, const std::string& text)
{
    const auto texts = shownTexts(root);
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

// The row node of a record, or null.
inline const views::ViewNode* rowOf(const views::ViewNode& root, const std::string& id)
{
    for (const views::ViewNode* node : all<views::node::Row>(root)) {
        if (node->as<views::node::Row>()->id == id)
            return node;
    }
    return nullptr;
}

inline const views::ViewNode* firstOfType(const views::ViewNode& root, std::string_view type)
{
    std::vector<const views::ViewNode*> found;
    views::collectNodes(root, [&](const views::ViewNode& node) { return node.typeName() == type; }, found);
    return found.empty() ? nullptr : found.front();
}

inline bool contains(const views::Frame& outer, const views::Frame& inner, double slack = 0.001)
{
    return inner.x >= outer.x - slack && inner.y >= outer.y - slack && inner.maxX() <= outer.maxX() + slack
        && inner.maxY() <= outer.maxY() + slack;
}

}
