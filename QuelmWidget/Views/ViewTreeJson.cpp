// SPDX-License-Identifier: MIT
#include "Views/ViewTreeJson.h"

#include <cmath>

namespace quelm::views {

namespace {

using json = nlohmann::ordered_json;

double rounded(double value)
{
    const double result = std::round(value * 1000) / 1000;
    return result == 0 ? 0 : result; // no "-0"
}

std::string_view weightName(FontWeight weight)
{
    switch (weight) {
    case FontWeight::medium:
        return "medium";
    case FontWeight::semibold:
        return "semibold";
    case FontWeight::bold:
        return "bold";
    case FontWeight::regular:
        break;
    }
    return "regular";
}

std::string_view kindName(RowKind kind)
{
    switch (kind) {
    case RowKind::group:
        return "group";
    case RowKind::session:
        return "session";
    case RowKind::item:
        break;
    }
    return "item";
}

std::string_view cornerName(GlassCorner corner)
{
    switch (corner) {
    case GlassCorner::topLeading:
        return "topLeading";
    case GlassCorner::topTrailing:
        return "topTrailing";
    case GlassCorner::bottomLeading:
        return "bottomLeading";
    case GlassCorner::bottomTrailing:
        break;
    }
    return "bottomTrailing";
}

struct PayloadWriter {
    json& out;

    void operator()(const node::Stack& stack) const
    {
        out["axis"] = stack.axis == Axis::horizontal ? "h" : "v";
        out["spacing"] = rounded(stack.spacing);
    }
    void operator()(const node::Text& text) const
    {
        out["text"] = text.shown;
        out["font"] = { { "size", text.font.size }, { "weight", weightName(text.font.weight) } };
        out["color"] = colorJson(text.color);
    }
    void operator()(const node::Symbol& symbol) const
    {
        out["symbol"] = symbol.symbol;
        out["color"] = colorJson(symbol.color);
        out["opacity"] = symbol.opacity;
        out["halo"] = symbol.halo ? colorJson(*symbol.halo) : json(nullptr);
    }
    void operator()(const node::Mark& mark) const { out["running"] = mark.running; }
    void operator()(const node::Button& button) const
    {
        out["itemID"] = button.itemID;
        out["start"] = button.start;
        out["symbol"] = button.symbol;
        out["enabled"] = button.enabled;
    }
    void operator()(const node::Link& link) const { out["url"] = link.url; }
    void operator()(const node::Row& row) const
    {
        out["kind"] = kindName(row.kind);
        out["id"] = row.id;
        out["appearsRunning"] = row.appearsRunning;
        out["busy"] = row.busy;
    }
    void operator()(const node::Section& section) const { out["title"] = section.title; }
    void operator()(const node::Message& message) const
    {
        out["title"] = message.title;
        out["subtitle"] = message.subtitle ? json(*message.subtitle) : json(nullptr);
    }
    void operator()(const node::Glass& glass) const
    {
        json glows = json::array();
        for (const RadialGlow& glow : glass.glows) {
            glows.push_back({ { "color", colorJson(glow.color) }, { "opacity", glow.opacity }, { "center", cornerName(glow.center) },
                { "radius", glow.endRadius } });
        }
        out["glows"] = std::move(glows);
    }
    void operator()(const node::Divider&) const { }
    void operator()(const node::Spacer&) const { }
};

}

json colorJson(const Color& color)
{
    if (color.named) {
        json named = { { "named", rawValue(*color.named) } };
        if (color.alpha != 1)
            named["a"] = color.alpha;
        return named;
    }
    return { { "r", color.red }, { "g", color.green }, { "b", color.blue }, { "a", color.alpha } };
}

json viewTreeJson(const ViewNode& node)
{
    json out = json::object();
    out["type"] = node.typeName();
    out["frame"] = { { "x", rounded(node.frame.x) }, { "y", rounded(node.frame.y) }, { "w", rounded(node.frame.width) },
        { "h", rounded(node.frame.height) } };
    std::visit(PayloadWriter { out }, node.content);
    if (!node.children.empty()) {
        json children = json::array();
        for (const ViewNode& child : node.children)
            children.push_back(viewTreeJson(child));
        out["children"] = std::move(children);
    }
    return out;
}

}
