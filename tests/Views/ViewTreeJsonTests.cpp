// SPDX-License-Identifier: MIT
#include "ViewsTestSupport.h"
#include "ViewTreeSearch.h"

#include "Views/ViewTreeJson.h"

using namespace quelm;
using namespace quelm::test;
using nlohmann::ordered_json;

namespace {

class ViewTreeJsonTest : public ViewsTest { };

const ordered_json& nodeOfType(const ordered_json& root, const std::string& type)
{
    const auto* found = findNode<ordered_json>(root, [&](const ordered_json& node) { return node["type"] == type; });
    if (!found)
        throw std::runtime_error("no " + type + " node");
    return *found;
}

}

TEST_F(ViewTreeJsonTest, WidgetHasFamilyStatusSizeAndRoot)
{
    const auto json = views::widgetJson(render(TimelineEntry::sample(fixedNow), WidgetFamily::medium));
    EXPECT_EQ(json["family"], "medium");
    EXPECT_EQ(json["appStatus"], "running");
    EXPECT_EQ(json["size"], (ordered_json { { "w", 364.0 }, { "h", 170.0 } }));
    EXPECT_EQ(json["root"]["type"], "glass");
    EXPECT_EQ(json["root"]["frame"], (ordered_json { { "x", 0.0 }, { "y", 0.0 }, { "w", 364.0 }, { "h", 170.0 } }));
}

TEST_F(ViewTreeJsonTest, NodesCarryTheirTypesKeys)
{
    TimelineEntry entry = TimelineEntry::sample(fixedNow);
    entry.pending = { { "c", WidgetCommand::Action::start } };
    const auto root = views::widgetJson(render(entry, WidgetFamily::extraLarge))["root"];

    const auto& glows = root["glows"];
    ASSERT_EQ(glows.size(), 2u);
    EXPECT_EQ(glows[0], (ordered_json { { "color", { { "named", "orange" } } }, { "opacity", 0.34 }, { "center", "bottomTrailing" }, { "radius", 190.0 } }));
    EXPECT_EQ(glows[1]["color"], (ordered_json { { "r", 0.42 }, { "g", 0.8 }, { "b", 0.47 }, { "a", 1.0 } }));

    const auto& stack = nodeOfType(root, "stack");
    EXPECT_EQ(stack["axis"], "v");
    EXPECT_EQ(stack["spacing"], 6.0);

    const auto& mark = nodeOfType(root, "mark");
    EXPECT_EQ(mark["running"], true);

    const auto& text = nodeOfType(root, "text");
    EXPECT_EQ(text["text"], "Quelm");
    EXPECT_EQ(text["font"], (ordered_json { { "size", 11.0 }, { "weight", "semibold" } }));
    EXPECT_EQ(text["color"], (ordered_json { { "named", "primary" } }));

    const auto& section = nodeOfType(root, "section");
    EXPECT_EQ(section["title"], "Claude");

    const auto* postgres = findNode<ordered_json>(root, [](const ordered_json& node) { return node["type"] == "row" && node["id"] == "c"; });
    ASSERT_TRUE(postgres);
    EXPECT_EQ((*postgres)["kind"], "item");
    EXPECT_EQ((*postgres)["appearsRunning"], true);
    EXPECT_EQ((*postgres)["busy"], true);
    const auto& button = nodeOfType(*postgres, "button");
    EXPECT_EQ(button["itemID"], "c");
    EXPECT_EQ(button["start"], true);
    EXPECT_EQ(button["symbol"], "stop.fill");
    EXPECT_EQ(button["enabled"], false);
    const auto& glyph = nodeOfType(*postgres, "symbol");
    EXPECT_EQ(glyph["symbol"], "cylinder.fill");
    EXPECT_EQ(glyph["opacity"], 1.0);
    EXPECT_EQ(glyph["halo"], (ordered_json { { "r", 0.96 }, { "g", 0.66 }, { "b", 0.32 }, { "a", 0.55 } }));

    const auto* stopped = findNode<ordered_json>(root, [](const ordered_json& node) { return node["type"] == "row" && node["id"] == "e"; });
    ASSERT_TRUE(stopped);
    EXPECT_TRUE(nodeOfType(*stopped, "symbol")["halo"].is_null());

    const auto& group = *findNode<ordered_json>(root, [](const ordered_json& node) { return node["type"] == "row" && node["kind"] == "group"; });
    EXPECT_EQ(nodeOfType(group, "symbol")["halo"], (ordered_json { { "named", "accent" }, { "a", 0.5 } }));

    const auto& link = nodeOfType(root, "link");
    EXPECT_EQ(link["url"], "quelm://session/s1");
    EXPECT_EQ(nodeOfType(root, "divider").size(), 2u) << "type and frame only";
    EXPECT_EQ(nodeOfType(root, "spacer").size(), 2u);
}

TEST_F(ViewTreeJsonTest, MessageHasNullSubtitleWhenItHasNone)
{
    const auto root = views::widgetJson(render(runningEntry({}), WidgetFamily::small))["root"];
    const auto& message = nodeOfType(root, "message");
    EXPECT_EQ(message["title"], "Nada rodando");
    EXPECT_TRUE(message["subtitle"].is_null());
}

TEST_F(ViewTreeJsonTest, FramesAreRoundedToThousandths)
{
    views::ViewNode text = views::ViewNode::text("x", {}, Color::of(Color::Named::white));
    text.frame = { 1.23456, -0.0001, 10.0005, 1.0 / 3 };
    const auto json = views::viewTreeJson(text);
    EXPECT_EQ(json["frame"]["x"], 1.235);
    EXPECT_EQ(json["frame"]["y"].dump(), "0.0");
    EXPECT_EQ(json["frame"]["h"], 0.333);
}
